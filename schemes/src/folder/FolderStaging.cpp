#include "folder/FolderStaging.h"

#include "SchemeErrors.h"
#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "platform/FileSync.h"
#include "platform/FreeSpace.h"
#include "platform/TreeRemoval.h"

#include <QCryptographicHash>

#include <chrono>

namespace zel {

namespace fs = std::filesystem;

namespace {

std::string shortHash(const QString &text)
{
    const QByteArray hash = QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256);
    constexpr qsizetype letters = 32;
    return hash.toHex().left(letters).toStdString();
}

std::optional<qint64> fileSize(const fs::path &path)
{
    std::error_code failure;
    if (!fs::is_regular_file(fs::symlink_status(path, failure)))
        return std::nullopt;
    const auto size = fs::file_size(path, failure);
    return failure ? std::nullopt : std::optional(qint64(size));
}

/// Empty for what the clock of files cannot tell: it counts nanoseconds, and a server may tell of
/// any year.
std::optional<fs::file_time_type> fileTime(const QDateTime &time)
{
    using namespace std::chrono;
    const auto moment
        = file_clock::from_sys(sys_seconds(seconds(time.toSecsSinceEpoch()))).time_since_epoch();
    const auto latest = duration_cast<seconds>(fs::file_time_type::duration::max());
    if (!time.isValid() || moment > latest || moment < -latest)
        return std::nullopt;
    return fs::file_time_type(moment);
}

} // namespace

FolderStaging::FolderStaging(std::unique_ptr<StagingArea> area, const RemoteListing &listing)
    : place(std::move(area))
    , listing(listing)
{
}

Error FolderStaging::prepare(const std::map<QString, qint64> &sizes)
{
    Error error;
    wantedSizes = sizes;
    const size_t entries = listing.files().size() + listing.folders().size();
    ZEL_TRY(error, tree.begin(place->contentDirectory(), entries));
    ZEL_TRY(error, StagedTree::makeFolder(partsDirectory()));
    ZEL_TRY(error, StagedTree::makeFolder(place->mainPath()));
    for (const QString &folder : listing.folders())
        ZEL_TRY(error, StagedTree::makeFolder(targetOf(folder)));
    for (const auto &[path, file] : listing.files()) {
        const std::optional<qint64> present = fileSize(targetOf(path));
        // A program that died while it gave room back may have left a file that is cut.
        if (present && wantedSizes.contains(path) && isWantedSize(path, *present))
            wholeSizes.emplace(path, *present);
        else if (present)
            ZEL_TRY(error, TreeRemoval::remove(textPath(targetOf(path))));
    }
    return error;
}

std::optional<qint64> FolderStaging::wholeSize(const QString &path) const
{
    const auto found = wholeSizes.find(path);
    return found == wholeSizes.end() ? std::nullopt : std::optional(found->second);
}

qint64 FolderStaging::begunBytes(const QString &path) const
{
    qint64 bytes = 0;
    const std::string prefix = shortHash(path) + '-';
    std::error_code failure;
    for (fs::directory_iterator it(partsDirectory(), failure), end; !failure && it != end;
         it.increment(failure)) {
        if (it->path().filename().native().starts_with(prefix))
            bytes += fileSize(it->path()).value_or(0);
    }
    return bytes;
}

Result<std::unique_ptr<StagedFile>> FolderStaging::openPart(const QString &path,
                                                            const QString &state) const
{
    Error error;
    const fs::path part = partOf(path, state);
    dropOtherParts(path, part);
    ZEL_TRY_LET(std::unique_ptr<StagedFile> file, StagedFile::open(part));
    if (state.isEmpty())
        ZEL_TRY(error, file->truncate(0));
    return file;
}

void FolderStaging::dropOtherParts(const QString &path, const fs::path &kept) const
{
    const std::string prefix = shortHash(path) + '-';
    std::error_code failure;
    std::error_code ignored; // what stays is of no harm
    for (fs::directory_iterator it(partsDirectory(), failure), end; !failure && it != end;
         it.increment(failure)) {
        if (it->path() != kept && it->path().filename().native().starts_with(prefix))
            fs::remove(it->path(), ignored);
    }
}

Error FolderStaging::finish(const RemoteFile &file, const QString &state, const QDateTime &modified,
                            const QList<QByteArray> &sums)
{
    const fs::path part = partOf(file.path, state);
    const fs::path target = targetOf(file.path);
    const std::optional<qint64> size = fileSize(part);
    std::error_code code;
    // Not every volume keeps it, and nobody depends on it.
    if (const auto time = fileTime(modified))
        fs::last_write_time(part, *time, code);
    fs::rename(part, target, code);
    if (code || !size) {
        return ZEL_ERROR(FreeSpace::codeOf(code),
                         tr("Moving \"%1\" to its place failed: %2")
                             .arg(textPath(target), QString::fromStdString(code.message())));
    }
    const std::lock_guard lock(mutex);
    wholeSizes[file.path] = *size;
    const QByteArray name = QByteArray::fromStdString(place->mainPath().filename().native());
    place->manifest().setSums(name + '/' + file.path.toUtf8(), sums);
    return {};
}

bool FolderStaging::isWantedSize(const QString &path, qint64 size) const
{
    const auto wanted = wantedSizes.find(path);
    return wanted == wantedSizes.end() || wanted->second == size;
}

bool FolderStaging::isComplete() const
{
    for (const auto &[path, file] : listing.files()) {
        const std::optional<qint64> present = fileSize(targetOf(path));
        const std::optional<qint64> noted = wholeSize(path);
        if (!present || present != noted || !isWantedSize(path, *present))
            return false;
    }
    size_t entries = 0;
    std::error_code failure;
    for (fs::recursive_directory_iterator it(place->mainPath(), failure), end;
         !failure && it != end; it.increment(failure)) {
        ++entries;
    }
    return !failure && entries == listing.files().size() + listing.folders().size();
}

Error FolderStaging::checkWhole()
{
    if (isComplete())
        return {};
    ZEL_DROP(place->clear()); // somebody else has been at it
    return ZEL_ERROR(SchemeErrors::integrityFailure,
                     tr("What was staged of the folder is not what was fetched."));
}

Error FolderStaging::publish()
{
    Error error;
    ZEL_TRY(error, TreeRemoval::remove(textPath(partsDirectory())));
    ZEL_TRY(error, place->keepIfSynced(sync()));
    return ZEL_PASS(place->publish());
}

Error FolderStaging::sync()
{
    Error error;
    if (!tree.goesWithVolume()) {
        for (const auto &[path, file] : listing.files())
            ZEL_TRY(error, FileSync::syncFile(textPath(targetOf(path))));
    }
    std::vector<fs::path> folders { place->mainPath() };
    for (const QString &folder : listing.folders())
        folders.push_back(targetOf(folder));
    return ZEL_PASS(tree.sync(folders));
}

void FolderStaging::giveRoomBack(const Error &reason)
{
    if (!place->giveRoomBack(reason))
        return;
    for (const auto &[path, size] : wholeSizes) {
        std::error_code ignored; // it is not as long as it was: noticed when it is to be published
        if (fileSize(targetOf(path)) != size)
            fs::remove(targetOf(path), ignored);
    }
}

fs::path FolderStaging::targetOf(const QString &path) const
{
    return place->mainPath() / nativePath(path);
}

/// The name of no resource starts with a dot.
fs::path FolderStaging::partsDirectory() const
{
    return place->contentDirectory() / ".begun";
}

fs::path FolderStaging::partOf(const QString &path, const QString &state) const
{
    return partsDirectory() / (shortHash(path) + '-' + shortHash(state));
}

} // namespace zel
