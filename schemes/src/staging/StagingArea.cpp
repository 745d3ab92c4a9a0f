#include "staging/StagingArea.h"

#include "SchemeErrors.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "files/NativePath.h"
#include "platform/FileSync.h"
#include "platform/FreeSpace.h"
#include "platform/TreeRemoval.h"
#include "staging/Placement.h"
#include "staging/StagingFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QUuid>

#include <algorithm>
#include <limits>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace fs = std::filesystem;

namespace {

// As many programs may fetch one resource at a time because they took one another for dead.
constexpr int mostPlaces = 16;
// A place that is removed between the making of its folder and the locking is made again.
constexpr int mostTries = 8;
// What the database of a cache needs at its busiest moments. One that cannot be written to cannot
// even take down that a fetch has ended.
constexpr qint64 bytesForDatabase = 4ll * 1024 * 1024;
// So much is given back on a full volume, so that after it small resources can still be fetched.
constexpr qint64 bytesToLeaveFree = 2 * bytesForDatabase;

/// Shortens files of the folder by so many bytes in all, if they have as many, and gives by how
/// many. What is left of a file is its beginning, from which a later fetch goes on.
qint64 shortenFiles(const fs::path &folder, qint64 bytes)
{
    qint64 freed = 0;
    std::error_code failure;
    for (fs::recursive_directory_iterator it(folder, failure), end; freed < bytes && it != end;
         it.increment(failure)) {
        std::error_code own; // what cannot be freed here may be freed in the next file
        if (it->symlink_status(own).type() != fs::file_type::regular)
            continue;
        const auto size = it->file_size(own);
        if (own)
            continue;
        const qint64 share = std::min(qint64(size), bytes - freed);
        fs::resize_file(it->path(), size - std::uintmax_t(share), own);
        freed += own ? 0 : share;
    }
    return freed;
}

FileLock lockMade(const QString &folder)
{
    for (int i = 0; i < mostTries; ++i) {
        ZEL_DROP(FileUtilsGeneric::mkPath(folder)); // the lock tells
        FileLock lock(StagingFolder::lockPath(folder));
        if (lock.state() != FileLock::State::Unavailable || QFileInfo::exists(folder))
            return lock;
    }
    return {};
}

} // namespace

StagingArea::StagingArea(const FetchPlan &plan, const QString &validator, const QString &folder,
                         FileLock lock)
    : plan(plan)
    , folder(folder)
    , lock(std::move(lock))
    , fetchManifest(plan)
{
    currentRecord.displayText = plan.displayText;
    currentRecord.referenceKey = plan.referenceKey;
    currentRecord.validator = validator;
    currentRecord.process = ProcessIdentity::current();
    currentRecord.started = QDateTime::currentDateTimeUtc();
}

StagingArea::~StagingArea() = default;

Result<std::unique_ptr<StagingArea>> StagingArea::open(const FetchPlan &plan,
                                                       const QString &validator)
{
    Error error;
    ZEL_TRY(error, FileUtilsGeneric::mkPath(plan.stagingDirectory));
    const QString name
        = plan.stagingDirectory + u'/' + StagingFolder::prefixFor(plan.referenceKey, validator);
    ZEL_TRY_LET(std::unique_ptr<StagingArea> area, openFree(plan, validator, name));
    area->removeOtherStates();
    ZEL_TRY(error, area->prepare());
    return area;
}

Result<std::unique_ptr<StagingArea>> StagingArea::openFree(const FetchPlan &plan,
                                                           const QString &validator,
                                                           const QString &name)
{
    Error error;
    for (int i = 0; i < mostPlaces; ++i) {
        QString folder = name + QString::number(i);
        FileLock lock = lockMade(folder);
        if (lock.state() == FileLock::State::Busy)
            continue;
        // Without locks a place of one's own is the only one that nobody else writes to. Where none
        // can be made either, that is what to tell.
        if (lock.state() == FileLock::State::Unavailable) {
            folder = name + QUuid::createUuid().toString(QUuid::Id128);
            ZEL_TRY(error, FileUtilsGeneric::mkPath(folder));
        }
        return std::unique_ptr<StagingArea>(
            new StagingArea(plan, validator, folder, std::move(lock)));
    }
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Too many programs are fetching %1.").arg(plan.displayText));
}

Error StagingArea::prepare()
{
    Error error;
    const auto former = StagingRecord::read(StagingFolder::recordPath(folder));
    const bool isSameState = former.hasValue() && !currentRecord.validator.isEmpty()
        && former.value().validator == currentRecord.validator
        && former.value().referenceKey == currentRecord.referenceKey;
    if (isSameState)
        ZEL_TRY(error, goOnFrom(former.value()));
    else
        ZEL_TRY(error, clearContent());
    saveRecord();
    return error;
}

Error StagingArea::goOnFrom(const StagingRecord &former)
{
    Error error;
    ZEL_TRY(error, FileUtilsGeneric::mkPath(StagingFolder::contentPath(folder)));
    if (former.process.bootId != currentRecord.process.bootId)
        ZEL_TRY(error, distrustAfterReboot(former));
    vouchedBytes = former.durableBytes;
    currentRecord.durableBytes = std::min(vouchedBytes, mainFileBytes());
    return error;
}

/// 0 if it is none, or a folder.
qint64 StagingArea::mainFileBytes() const
{
    const QFileInfo main(textPath(mainPath()));
    return main.isFile() ? main.size() : 0;
}

/// The machine has started anew since the place was written to. If that was not in good order,
/// files may have their length but not their bytes, other than those that were waited for.
Error StagingArea::distrustAfterReboot(const StagingRecord &former)
{
    Error error;
    const QStringList names
        = QDir(StagingFolder::contentPath(folder))
              .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    const QString mainName = textPath(mainPath().filename());
    if (names != QStringList { mainName } || !QFileInfo(textPath(mainPath())).isFile())
        return ZEL_PASS(clearContent());

    ZEL_TRY_LET(const auto file, openMainFile());
    if (file->size() > former.durableBytes)
        ZEL_TRY(error, file->truncate(former.durableBytes));
    return error;
}

void StagingArea::removeOtherStates() const
{
    const QString ofResource = StagingFolder::prefixFor(plan.referenceKey);
    const QString ofState = StagingFolder::prefixFor(plan.referenceKey, currentRecord.validator);
    const QStringList folders = StagingFolder::all(plan.stagingDirectory);
    for (const QString &other : folders) {
        const QString name = QFileInfo(other).fileName();
        if (name.startsWith(ofResource) && !name.startsWith(ofState))
            StagingFolder::removeIfUnused(other);
    }
}

fs::path StagingArea::contentDirectory() const
{
    return nativePath(StagingFolder::contentPath(folder));
}

fs::path StagingArea::mainPath() const
{
    return contentDirectory() / nativePath(plan.expectedPath).filename();
}

Result<std::unique_ptr<StagedFile>> StagingArea::openMainFile()
{
    return ZEL_PASS(StagedFile::open(mainPath()));
}

Error StagingArea::requireSpace(qint64 bytes) const
{
    const auto available = FreeSpace::availableBytes(folder);
    const bool isWhole = bytes <= 0; // all of it is here, which needs no more room
    if (!available.hasValue() || isWhole || available.value() - bytesForDatabase >= bytes)
        return {};
    const QLocale locale = QLocale::c();
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    const qint64 needed = std::min(bytes, most - bytesForDatabase) + bytesForDatabase;
    return ZEL_ERROR(SchemeErrors::noSpace,
                     tr("There is no room for %1: %2 are needed, %3 are free.")
                         .arg(plan.displayText, locale.formattedDataSize(needed),
                              locale.formattedDataSize(available.value())));
}

Error StagingArea::clear()
{
    Error error;
    const QString validator = currentRecord.validator;
    distrust();
    ZEL_TRY(error, clearContent());
    currentRecord.validator = validator;
    currentRecord.bytes = 0;
    currentRecord.durableBytes = 0;
    saveRecord();
    return error;
}

Error StagingArea::keepIfSynced(const Error &synced)
{
    if (synced.hasError())
        ZEL_DROP(clear()); // the first failure is what to tell
    return ZEL_PASS(synced);
}

/// From now on what is collected is of no state, even if this program dies. Not waited for.
void StagingArea::distrust()
{
    currentRecord.validator.clear();
    const Error error = currentRecord.write(StagingFolder::recordPath(folder));
    if (!error.hasError())
        return;
    ZEL_DROP(error); // without any record nothing is trusted
    QFile::remove(StagingFolder::recordPath(folder));
}

bool StagingArea::giveRoomBack(const Error &reason)
{
    if (int(reason.errorCode()) != SchemeErrors::noSpace)
        return false;
    const auto available = FreeSpace::availableBytes(folder);
    if (!available.hasValue() || available.value() >= bytesToLeaveFree)
        return false;
    // Nobody can go on from bytes whose state nobody knows.
    if (currentRecord.validator.isEmpty()) {
        ZEL_DROP(clear());
        return true;
    }
    // Before the record, for which there is no room yet: whoever opens the place next compares the
    // two before he writes.
    const qint64 freed = shortenFiles(contentDirectory(), bytesToLeaveFree - available.value());
    currentRecord.bytes = std::max(currentRecord.bytes - freed, qint64(0));
    currentRecord.durableBytes = std::min(currentRecord.durableBytes, currentRecord.bytes);
    saveRecord();
    return freed > 0;
}

Error StagingArea::clearContent() const
{
    Error error;
    const QString content = StagingFolder::contentPath(folder);
    ZEL_TRY(error, TreeRemoval::remove(content));
    ZEL_TRY(error, FileUtilsGeneric::mkPath(content));
    return error;
}

bool StagingArea::isReadyAlready() const
{
    return plan.isReady(plan.referenceKey) && QFileInfo::exists(plan.expectedPath);
}

Error StagingArea::publish()
{
    Error error;
    // Somebody else may become ready while this one tries; then the attempt does not matter.
    if (!isReadyAlready())
        error = placeAll();
    if (error.hasError() && !isReadyAlready())
        return ZEL_PASS(error);
    // The resource is where it belongs; what stays behind goes with a later look for leftovers:
    // before a program's first fetch here, and then before one fetch in ten minutes.
    ZEL_DROP(StagingFolder::remove(folder));
    isRemoved = true;
    return {};
}

/// The resource itself comes last: whoever sees it finds what belongs to it.
Result<std::vector<fs::path>> StagingArea::stagedPaths() const
{
    const fs::path main = mainPath();
    std::error_code failure;
    std::vector<fs::path> staged;
    for (fs::directory_iterator it(contentDirectory(), failure), end; !failure && it != end;
         it.increment(failure)) {
        if (it->path() != main)
            staged.push_back(it->path());
    }
    // Without what a listing has kept back, the resource would not be whole.
    if (failure) {
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            tr("Reading \"%1\" failed: %2")
                .arg(textPath(contentDirectory()), QString::fromStdString(failure.message())));
    }
    staged.push_back(main);
    return staged;
}

Error StagingArea::placeAll()
{
    Error error;
    ZEL_TRY_LET(const std::vector<fs::path> staged, stagedPaths());
    const fs::path targetDirectory = nativePath(plan.expectedPath).parent_path();
    // A manifest never outlives what it tells of, whatever happens here.
    ZEL_DROP(fetchManifest.removeFormer());
    QList<QByteArray> names;
    for (const fs::path &path : staged) {
        ZEL_TRY(error, place(path, targetDirectory / path.filename()));
        names.append(QByteArray::fromStdString(path.filename().native()));
    }
    ZEL_DROP(fetchManifest.write(names)); // the resource is there; it is only not to be verified
    return error;
}

/// What is replaced comes to where the new one was staged, and stays there if this program dies or
/// fails later on: no fetch may take it for its own beginning.
Error StagingArea::place(const fs::path &staged, const fs::path &target)
{
    const QString around = textPath(target.parent_path());
    const QStringList changed = QStringList { around } + FileSync::foldersAround(around);
    const QString validator = currentRecord.validator;
    std::error_code ignored;
    if (fs::symlink_status(target, ignored).type() != fs::file_type::not_found)
        distrust();
    const Error error = Placement::place(staged, target, nativePath(folder).filename().native());
    if (error.hasError()) {
        currentRecord.validator = validator; // nothing was replaced
        saveRecord();
        return ZEL_PASS(error);
    }
    return ZEL_PASS(FileSync::syncDirectories(changed));
}

void StagingArea::saveRecord()
{
    if (isRemoved)
        return;
    currentRecord.updated = QDateTime::currentDateTimeUtc();
    if (currentRecord.durableBytes < vouchedBytes) {
        replaceRecordDurably();
        return;
    }
    vouchedBytes = currentRecord.durableBytes;
    ZEL_DROP(currentRecord.write(StagingFolder::recordPath(folder))); // the fetch goes on without
}

void StagingArea::replaceRecordDurably()
{
    Error error = currentRecord.writeDurably(StagingFolder::recordPath(folder));
    if (error.hasError()) {
        ZEL_DROP(error); // without any record nothing is trusted
        QFile::remove(StagingFolder::recordPath(folder));
        error = FileSync::syncDirectory(folder);
    }
    if (!error.hasError())
        vouchedBytes = currentRecord.durableBytes;
    ZEL_DROP(error); // the next record tries again
}

void StagingArea::trustAtMost(qint64 bytes)
{
    if (currentRecord.durableBytes <= bytes)
        return;
    currentRecord.durableBytes = bytes;
    saveRecord();
}

} // namespace zel
