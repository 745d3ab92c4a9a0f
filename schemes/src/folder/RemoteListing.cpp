#include "folder/RemoteListing.h"

#include "errors/Propagate.h"
#include "references/ResourceReferenceUtils.h"

#include <QCryptographicHash>
#include <QStringList>

#include <algorithm>
#include <limits>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// The same for all spellings that some volume takes for one name.
QString folded(const QString &path)
{
    return path.normalized(QString::NormalizationForm_C)
        .toCaseFolded()
        .normalized(QString::NormalizationForm_C);
}

bool isSeparatorOrControl(QChar character)
{
    const QChar::Category category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line
        || category == QChar::Separator_Paragraph;
}

/// False for what no encoding of file names can hold, and for what stands for undecodable bytes.
bool isText(const QString &path)
{
    return path.isValidUtf16() && !path.contains(QChar::ReplacementCharacter);
}

bool startsWithDrive(const QString &path)
{
    return path.size() > 1 && path.at(1) == u':'
        && ((path.at(0) >= u'a' && path.at(0) <= u'z')
            || (path.at(0) >= u'A' && path.at(0) <= u'Z'));
}

bool isUsableName(const QString &name)
{
    return !name.isEmpty() && name != u"."_s && name != u".."_s
        && name.toUtf8().size() <= RemoteListing::mostNameBytes;
}

} // namespace

Error RemoteListing::addFile(const RemoteFile &file)
{
    Error error;
    ZEL_TRY(error, checkPath(file.path));
    const qint64 size = file.size.value_or(0);
    if (size < 0 || size > std::numeric_limits<qint64>::max() - knownBytes)
        return ZEL_PASS(refusal(file.path, tr("has an impossible size")));
    ZEL_TRY(error, enter(file.path, false));
    knownBytes += size;
    allSizesKnown = allSizesKnown && file.size;
    allFiles.emplace(file.path, file);
    return error;
}

Error RemoteListing::addFolder(const QString &path)
{
    Error error;
    ZEL_TRY(error, checkPath(path));
    return ZEL_PASS(enter(path, true));
}

Error RemoteListing::checkPath(const QString &path) const
{
    if (path.size() > mostPathBytes) // so that nothing below takes long
        return ZEL_PASS(refusal(path, tr("is no path of a file in the folder")));
    if (path.startsWith(u'/') || startsWithDrive(path))
        return ZEL_PASS(refusal(path, tr("does not lie in the folder")));
    if (!isText(path) || std::any_of(path.begin(), path.end(), isSeparatorOrControl))
        return ZEL_PASS(refusal(path, tr("has characters that no name may have")));
    const QStringList names = path.split(u'/');
    const bool isUsable = !path.contains(u'\\')
        && std::all_of(names.begin(), names.end(), isUsableName)
        && path.toUtf8().size() <= mostPathBytes && names.size() <= mostLevels;
    return isUsable ? Error() : ZEL_PASS(refusal(path, tr("is no path of a file in the folder")));
}

/// The length of the deepest folder in the path that is known, with its slash.
qsizetype RemoteListing::knownPart(const QString &path) const
{
    qsizetype slash = path.lastIndexOf(u'/');
    while (slash > 0 && allFolders.count(path.left(slash)) == 0)
        slash = path.lastIndexOf(u'/', slash - 1);
    return slash + 1;
}

/// Folders first, from the top down, so that a file in the way of any of them is noticed. What lies
/// above a known folder was looked at when that was taken in.
Error RemoteListing::enter(const QString &path, bool isFolder)
{
    const qsizetype end = path.size();
    for (qsizetype slash = path.indexOf(u'/', knownPart(path));;
         slash = path.indexOf(u'/', slash + 1)) {
        const bool isItself = slash < 0;
        const QString level = path.left(isItself ? end : slash);
        const QString key = folded(level);
        const QString spelling = spellings.value(key);
        const bool isNew = spelling.isEmpty();
        const bool isKnownFolder = spelling == level && allFolders.count(level) > 0;
        if (!isNew && !(isKnownFolder && (!isItself || isFolder)))
            return ZEL_PASS(refusal(path,
                                    tr("is listed twice, or differs too little from \"%1\"")
                                        .arg(ResourceReferenceUtils::printable(spelling))));
        if (isNew && spellings.size() == mostEntries)
            return ZEL_PASS(refusal(path, tr("is one entry too many")));
        spellings.insert(key, level);
        if (!isItself || isFolder)
            allFolders.insert(level);
        if (isItself)
            return {};
    }
}

Error RemoteListing::refusal(const QString &path, const QString &what) const
{
    return ZEL_ERROR(ErrorCode::BadData,
                     tr("The listing cannot be used: \"%1\" %2.")
                         .arg(ResourceReferenceUtils::printable(path), what));
}

std::optional<qint64> RemoteListing::totalBytes() const
{
    return allSizesKnown ? std::optional(knownBytes) : std::nullopt;
}

QDateTime RemoteListing::newest() const
{
    QDateTime newest;
    for (const auto &[path, file] : allFiles) {
        if (file.modified.isValid() && (!newest.isValid() || newest < file.modified))
            newest = file.modified;
    }
    return newest;
}

bool RemoteListing::tellsStates() const
{
    return std::all_of(allFiles.begin(), allFiles.end(), [](const auto &entry) {
        const RemoteFile &file = entry.second;
        return !file.hash.isEmpty() || !file.etag.isEmpty() || file.modified.isValid();
    });
}

QString RemoteListing::validator() const
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    // No part can hold a line end, so that no two listings give the same text.
    const auto add = [&hash](const QByteArray &part) {
        hash.addData(part);
        hash.addData("\n");
    };
    for (const QString &path : allFolders)
        add(path.toUtf8() + '/');
    for (const auto &[path, file] : allFiles) {
        add(path.toUtf8());
        add(file.size ? QByteArray::number(*file.size) : QByteArray());
        add(file.etag.toPercentEncoding());
        add(file.modified.isValid() ? QByteArray::number(file.modified.toSecsSinceEpoch())
                                    : QByteArray());
        add(file.hash.toString().toLatin1());
    }
    return QString::fromLatin1(hash.result().toHex());
}

} // namespace zel
