#include "integrity/ContentVerifier.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "integrity/ContentListing.h"
#include "integrity/ContentSum.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqManifest.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QtNumeric>

#include <algorithm>
#include <limits>
#include <vector>

namespace zel {

namespace {

using File = ContentManifest::File;

// Small enough that who cuts the reading short does not wait.
constexpr qint64 pieceBytes = 1024ll * 1024;

QByteArrayView topOf(const QByteArray &path)
{
    const qsizetype slash = path.indexOf('/');
    return QByteArrayView(path).first(slash < 0 ? path.size() : slash);
}

/// Finds files by their paths, each once. They are asked for in their own order as a rule, so that
/// the next one is the one that is wanted.
class ListedFiles
{
public:
    explicit ListedFiles(const QList<File> &files)
        : files(files)
        , areTaken(std::size_t(files.size()))
    {
    }

    /// Null for a path that is not there, or not any more.
    const File *take(const QByteArray &path)
    {
        if (next >= files.size() || files.at(next).path != path)
            next = places().value(path, files.size());
        if (next >= files.size() || isTaken(next))
            return nullptr;
        areTaken[std::size_t(next)] = true;
        return &files.at(next++);
    }
    bool isTaken(qsizetype index) const { return areTaken[std::size_t(index)]; }

private:
    const QHash<QByteArray, qsizetype> &places()
    {
        if (byPath.isEmpty()) {
            for (qsizetype i = 0; i < files.size(); ++i)
                byPath.insert(files.at(i).path, i);
        }
        return byPath;
    }

    const QList<File> &files;
    std::vector<bool> areTaken;
    qsizetype next = 0;
    QHash<QByteArray, qsizetype> byPath;
};

} // namespace

ContentVerifier::ContentVerifier(const ContentManifest &manifest, const QString &folder)
    : current(manifest)
    , folder(nativePath(folder))
{
    findMoved(folder);
}

void ContentVerifier::findMoved(const QString &folder)
{
    const auto content = zacq::Zacq::movedContent(folder + u'/' + QFile::decodeName(current.name));
    if (!content)
        return;
    const QByteArray root = current.name + '/';
    const QByteArray inner = QFile::encodeName(content->from);
    moved = { inner.isEmpty() ? root : root + inner + '/', nativePath(content->to),
              root + QByteArray(zacq::manifestName.data(), zacq::manifestName.size()) };
}

/// With the paths that they had.
Error ContentVerifier::listMoved(QList<File> &files) const
{
    const QByteArray name = QByteArray::fromStdString(moved->to.filename().string());
    const qsizetype before = files.size();
    const Error error = ZEL_PASS(ContentListing::add(moved->to.parent_path(), name, files));
    for (qsizetype i = before; i < files.size(); ++i) {
        QByteArray &path = files[i].path;
        path = moved->from + path.mid(name.size() + 1);
    }
    return error;
}

std::filesystem::path ContentVerifier::placeOf(const QByteArray &path) const
{
    std::filesystem::path own = folder / path.toStdString();
    if (!moved || !path.startsWith(moved->from))
        return own;
    // Beside the manifest of a container the sample alone has moved.
    const std::filesystem::path place = moved->to / path.mid(moved->from.size()).toStdString();
    std::error_code nothing;
    return exists(symlink_status(place, nothing)) ? place : own;
}

/// The resource itself and what came along beside it.
QList<QByteArray> ContentVerifier::topNames() const
{
    QList<QByteArray> names { current.name };
    for (const File &file : current.files) {
        const QByteArrayView top = topOf(file.path);
        if (names.constLast() != top && !names.contains(top))
            names.append(top.toByteArray());
    }
    return names;
}

void ContentVerifier::compare()
{
    due.clear();
    found.clear();
    QList<File> listed;
    const QList<QByteArray> names = topNames();
    for (const QByteArray &name : names) {
        const Error error = ContentListing::add(folder, name, listed);
        // What is not there shows below, and by name.
        if (error.hasError() && error.errorCode() != ErrorCode::BadArgument)
            found.append({ Kind::Unreadable, name, 0, 0, -1, error.errorMessage() });
    }
    if (const Error error = moved ? listMoved(listed) : Error();
        error.hasError() && error.errorCode() != ErrorCode::BadArgument)
        found.append({ Kind::Unreadable, moved->from.chopped(1), 0, 0, -1, error.errorMessage() });
    if (!found.isEmpty())
        return;
    ListedFiles there(listed);
    for (qsizetype i = 0; i < current.files.size(); ++i)
        compareFile(i, there.take(current.files.at(i).path));
    for (qsizetype i = 0; i < listed.size(); ++i) {
        if (!there.isTaken(i))
            found.append({ Kind::Extra, listed.at(i).path, 0, listed.at(i).size, -1, {} });
    }
    // What is most likely to have changed is read first.
    std::stable_partition(due.begin(), due.end(), [this](const Due &one) {
        return current.files.at(one.index).modified != one.modified;
    });
}

void ContentVerifier::compareFile(qsizetype index, const File *there)
{
    const File &file = current.files.at(index);
    if (there && moved && file.path == moved->rewritten)
        return;
    if (!there)
        note(Kind::Missing, file, 0);
    else if (there->linkTarget != file.linkTarget || there->size > file.size)
        note(Kind::Changed, file, there->size);
    else if (there->size < file.size)
        note(Kind::Truncated, file, there->size);
    else if (!file.linkTarget)
        due.append({ index, there->modified });
}

bool ContentVerifier::hasOtherTimes() const
{
    return std::any_of(due.begin(), due.end(), [this](const Due &one) {
        return current.files.at(one.index).modified != one.modified;
    });
}

bool ContentVerifier::isOfSomethingElse() const
{
    const bool hasOneAsItWas = std::any_of(due.begin(), due.end(), [this](const Due &one) {
        return current.files.at(one.index).modified == one.modified;
    });
    // Last, as the folder has to be looked at for it.
    return !hasOneAsItWas && current.folderMade.isValid()
        && QFileInfo(textPath(folder)).birthTime() > current.folderMade;
}

/// Of the file, by the verification that was cut short.
qint64 ContentVerifier::readBefore(const File &file) const
{
    // In blocks: their bytes may be more than a number holds.
    const bool isWhole = file.isChecked || file.checkedBlocks >= file.sums.size();
    return isWhole ? file.size : file.checkedBlocks * current.blockBytes;
}

qint64 ContentVerifier::bytesToRead(bool goesOnFromBefore) const
{
    qint64 bytes = 0;
    for (const Due &one : due) {
        const File &file = current.files.at(one.index);
        const qint64 before = goesOnFromBefore ? readBefore(file) : 0;
        if (qAddOverflow(bytes, file.size - before, &bytes))
            return std::numeric_limits<qint64>::max();
    }
    return bytes;
}

void ContentVerifier::forgetProgress()
{
    for (File &file : current.files) {
        file.isChecked = false;
        file.checkedBlocks = 0;
    }
}

bool ContentVerifier::read(bool goesOnFromBefore, const GoesOn &goesOn)
{
    if (!goesOnFromBefore)
        forgetProgress();
    for (const Due &one : std::as_const(due)) {
        if (current.files.at(one.index).isChecked)
            continue;
        if (readFile(one, goesOn) == End::CutShort)
            return false;
    }
    forgetProgress();
    current.verified = QDateTime::currentDateTimeUtc();
    return true;
}

ContentVerifier::End ContentVerifier::readFile(const Due &due, const GoesOn &goesOn)
{
    File &file = current.files[due.index];
    // Who has touched the file since may have done so to what was read before.
    if (file.modified != due.modified)
        file.checkedBlocks = 0;
    auto opened = NativeFile::open(placeOf(file.path), NativeFile::Mode::Read);
    if (!opened.hasValue())
        note(Kind::Unreadable, file, 0, -1, opened.error().errorMessage());
    else if (readBlocks(due, opened.value(), goesOn) == End::CutShort)
        return End::CutShort;
    file.isChecked = true;
    file.checkedBlocks = 0;
    return End::Done;
}

/// Up to the first block that is not right.
ContentVerifier::End ContentVerifier::readBlocks(const Due &due, NativeFile &native,
                                                 const GoesOn &goesOn)
{
    File &file = current.files[due.index];
    const qsizetype findingsBefore = found.size();
    for (qint64 block = file.checkedBlocks; block < file.sums.size(); ++block) {
        const qint64 offset = block * current.blockBytes;
        const qint64 length = std::min(current.blockBytes, file.size - offset);
        QByteArray sum;
        const auto isRead = readBlock(native, offset, length, sum, goesOn);
        if (!isRead.hasValue())
            note(Kind::Unreadable, file, 0, -1, isRead.error().errorMessage());
        else if (!isRead.value())
            return End::CutShort;
        else
            checkBlock(file, block, sum);
        if (found.size() != findingsBefore)
            return End::Done;
        file.checkedBlocks = block + 1;
    }
    file.verified = QDateTime::currentDateTimeUtc();
    file.foundChanged = {};
    file.modified = due.modified;
    return End::Done;
}

/// False if it was cut short. No sum: the file ended before.
Result<bool> ContentVerifier::readBlock(NativeFile &file, qint64 offset, qint64 length,
                                        QByteArray &sum, const GoesOn &goesOn)
{
    std::vector<char> buffer(size_t(std::min(pieceBytes, length)));
    ContentSum passing;
    for (qint64 done = 0; done < length;) {
        const qint64 wanted = std::min(pieceBytes, length - done);
        ZEL_TRY_LET(const qint64 got, file.readAt(offset + done, buffer.data(), wanted));
        if (got == 0)
            return true;
        passing.add(buffer.data(), got);
        done += got;
        if (!goesOn(got))
            return false;
    }
    sum = passing.value();
    return true;
}

void ContentVerifier::checkBlock(File &file, qint64 block, const QByteArray &sum)
{
    QByteArray &known = file.sums[block];
    const qint64 offset = block * current.blockBytes;
    if (sum.isEmpty()) {
        note(Kind::Truncated, file, offset); // it became shorter meanwhile
    } else if (known.isEmpty()) {
        // Also with another time: nobody knows better, and from now on a change shows.
        known = sum;
        file.isSummedLater = true;
    } else if (known != sum) {
        note(Kind::Changed, file, file.size, offset);
        file.foundChanged = QDateTime::currentDateTimeUtc();
    }
}

QList<ContentVerifier::Finding> ContentVerifier::findings() const
{
    QList<Finding> all = found;
    QSet<QByteArray> told;
    for (const Finding &one : found)
        told.insert(one.path);
    for (const File &file : current.files) {
        if (file.foundChanged.isValid() && !told.contains(file.path))
            all.append({ Kind::Changed, file.path, file.size, file.size, -1, {} });
    }
    return all;
}

void ContentVerifier::note(Kind kind, const File &file, qint64 foundSize, qint64 offset,
                           const QString &reason)
{
    found.append({ kind, file.path, file.size, foundSize, offset, reason });
}

} // namespace zel
