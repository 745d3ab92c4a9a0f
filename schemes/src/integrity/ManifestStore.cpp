#include "integrity/ManifestStore.h"

#include "OwnFile.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "files/NativePath.h"
#include "platform/FileLock.h"
#include "platform/NativeFile.h"
#include "references/CacheFileName.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QThread>
#include <QUuid>

#include <algorithm>
#include <vector>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView suffix(".json");
constexpr QLatin1StringView freshSuffix(".new");
constexpr qint64 daySeconds = 24ll * 60 * 60;

constexpr QLatin1StringView turnFile("/.lock");
constexpr QLatin1StringView comparedFile("/.compared");
constexpr qint64 mostKeyBytes = 64ll * 1024;
constexpr int mostTurnMs = 2000;
constexpr unsigned long firstPauseUs = 100; // a turn takes about as long
constexpr unsigned long longestPauseUs = 5000;

/// Waits for the others, who take a moment each: a longer one each time. Whoever has to wait for
/// longer goes without: a program may have been stopped in the midst, and no fetch waits for that.
/// So does one that may not have the lock, or of a folder that is not there.
FileLock turnIn(const QString &folder)
{
    const QDeadlineTimer limit(mostTurnMs);
    FileLock lock(folder + turnFile);
    for (auto pause = firstPauseUs; lock.state() == FileLock::State::Busy && !limit.hasExpired();
         pause = std::min(2 * pause, longestPauseUs)) {
        QThread::usleep(pause);
        lock = FileLock(folder + turnFile);
    }
    return lock;
}

/// All of the bytes are on the disk afterwards.
Error writeNew(const std::filesystem::path &path, const QByteArray &content)
{
    Error error;
    ZEL_TRY_LET(NativeFile file, NativeFile::open(path, NativeFile::Mode::ReadWrite));
    ZEL_TRY(error, file.writeAt(0, content.constData(), content.size()));
    ZEL_TRY(error, file.sync());
    return error;
}

/// Gives the path of the manifest beside its place. Before the turn: the others need not wait for
/// the disk.
Result<QString> writeFresh(const QString &path, const ContentManifest &manifest)
{
    const QString fresh = path + u'.' + QUuid::createUuid().toString(QUuid::Id128) + freshSuffix;
    const Error error = writeNew(nativePath(fresh), manifest.toJson());
    if (!error.hasError())
        return fresh;
    QFile::remove(fresh);
    return ZEL_PASS(error);
}

/// Does not wait until the name is on the disk: after a power cut there is the former file, or
/// none, which is better than a wait in each fetch.
Error putInPlace(const QString &fresh, const QString &path)
{
    std::error_code failure;
    std::filesystem::rename(nativePath(fresh), nativePath(path), failure);
    if (!failure)
        return {};
    QFile::remove(fresh);
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     ManifestStore::tr("Writing \"%1\" failed: %2")
                         .arg(path, QString::fromStdString(failure.message())));
}

bool isAtItsPlace(const ManifestStore &store, const Result<ContentManifest> &manifest,
                  const QString &path)
{
    return manifest.hasValue() && store.pathFor(manifest.value().referenceKey) == path;
}

Error noManifest(const QString &path)
{
    return ZEL_ERROR(ErrorCode::BadData, ManifestStore::tr("\"%1\" is no manifest.").arg(path));
}

QString nameOf(const std::filesystem::directory_entry &entry)
{
    const std::string &path = entry.path().native();
    return QFile::decodeName(path.c_str() + path.rfind('/') + 1);
}

/// All in the folder whose name ends so and is not hidden, with what the folder knows of it.
std::vector<std::filesystem::directory_entry> entriesIn(const QString &folder,
                                                        QLatin1StringView suffix)
{
    std::vector<std::filesystem::directory_entry> found;
    std::error_code failure;
    std::filesystem::directory_iterator entry(nativePath(folder), failure);
    for (; !failure && entry != end(entry); entry.increment(failure)) {
        const QString name = nameOf(*entry);
        if (!name.startsWith(u'.') && name.endsWith(suffix, Qt::CaseInsensitive))
            found.push_back(*entry);
    }
    return found;
}

/// Whether writeFresh() has made it: "....json.ID.new". Others may have left files of their own.
bool isFresh(const QString &name)
{
    constexpr qsizetype idLength = 32;
    const qsizetype length = name.size() - idLength - freshSuffix.size();
    const QString beforeId = suffix + u'.';
    return length > 0 && QStringView(name).first(length).endsWith(beforeId);
}

} // namespace

ManifestStore ManifestStore::forCache(const QString &cacheDataDirectory)
{
    return ManifestStore(QFileInfo(cacheDataDirectory).absolutePath() + u"/Manifests"_s);
}

ManifestStore::ManifestStore(const QString &directory)
    : folder(directory)
{
}

QString ManifestStore::pathFor(const QString &referenceKey) const
{
    return folder + u'/' + CacheFileName::folderFor(referenceKey) + suffix;
}

Result<std::optional<ContentManifest>> ManifestStore::read(const QString &referenceKey) const
{
    const QString path = pathFor(referenceKey);
    ZEL_TRY_LET(const auto content, OwnFile::readIfThere(path, mostBytes));
    if (!content)
        return std::optional<ContentManifest>();
    auto manifest = ContentManifest::fromJson(*content);
    // With this key its place is the right one.
    if (manifest.hasValue() && manifest.value().referenceKey == referenceKey)
        return std::optional(std::move(manifest.value()));
    if (!isAtItsPlace(*this, manifest, path))
        return ZEL_PASS(noManifest(path));
    return ZEL_ERROR(ErrorCode::BadData,
                     tr("\"%1\" is the manifest of another resource.").arg(path));
}

Result<ContentManifest> ManifestStore::readPath(const QString &path) const
{
    ZEL_TRY_LET(const QByteArray content, OwnFile::read(path, mostBytes));
    auto manifest = ContentManifest::fromJson(content);
    if (!isAtItsPlace(*this, manifest, path))
        return ZEL_PASS(noManifest(path));
    return manifest;
}

Error ManifestStore::write(const ContentManifest &manifest) const
{
    Error error;
    ZEL_TRY(error, FileUtilsGeneric::mkPath(folder));
    const QString path = pathFor(manifest.referenceKey);
    ZEL_TRY_LET(const QString fresh, writeFresh(path, manifest));
    const FileLock turn = turnIn(folder);
    return ZEL_PASS(putInPlace(fresh, path));
}

Result<bool> ManifestStore::isSameFetch(const ContentManifest &manifest) const
{
    ZEL_TRY_LET(const auto stored, read(manifest.referenceKey));
    return stored && stored->id == manifest.id;
}

Result<bool> ManifestStore::writeIfSameFetch(const ContentManifest &manifest) const
{
    Error error;
    ZEL_TRY_LET(const bool wasSame, isSameFetch(manifest));
    if (!wasSame)
        return false;
    const QString path = pathFor(manifest.referenceKey);
    ZEL_TRY_LET(const QString fresh, writeFresh(path, manifest));
    const FileLock turn = turnIn(folder);
    const auto isSame = isSameFetch(manifest); // a fetch may have written its own meanwhile
    if (isSame.hasValue() && isSame.value())
        ZEL_TRY(error, putInPlace(fresh, path));
    else
        QFile::remove(fresh);
    return ZEL_PASS(isSame);
}

Error ManifestStore::remove(const QString &referenceKey) const
{
    const FileLock turn = turnIn(folder);
    return ZEL_PASS(removeNow(pathFor(referenceKey)));
}

Result<bool> ManifestStore::removeIfSameFetch(const ContentManifest &manifest) const
{
    Error error;
    const FileLock turn = turnIn(folder);
    ZEL_TRY_LET(const bool isSame, isSameFetch(manifest));
    if (isSame)
        ZEL_TRY(error, removeNow(pathFor(manifest.referenceKey)));
    return isSame;
}

Result<bool> ManifestStore::removeIfOlder(const QString &path, const QDateTime &moment) const
{
    Error error;
    const FileLock turn = turnIn(folder);
    const QFileInfo info(path);
    const bool isOlder = info.exists() && info.lastModified() < moment;
    if (isOlder)
        ZEL_TRY(error, removeNow(path));
    return isOlder;
}

Error ManifestStore::removeNow(const QString &path)
{
    QFile file(path);
    if (file.remove() || !QFileInfo::exists(path))
        return {};
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Removing \"%1\" failed: %2").arg(path, file.errorString()));
}

QStringList ManifestStore::paths() const
{
    QStringList found;
    for (const auto &entry : entriesIn(folder, suffix)) {
        std::error_code failure;
        if (entry.is_regular_file(failure))
            found << folder + u'/' + nameOf(entry);
    }
    return found;
}

QMap<QString, Error> ManifestStore::failures() const
{
    QMap<QString, Error> failures;
    for (const auto &entry : entriesIn(folder, suffix)) {
        const QString path = folder + u'/' + nameOf(entry);
        const auto manifest = readPath(path);
        if (manifest.hasValue())
            continue;
        const QFileInfo info(path);
        if (info.exists() || info.isSymLink()) // else it went meanwhile
            failures.insert(path, manifest.error());
    }
    return failures;
}

QString ManifestStore::comparedLast() const
{
    const auto content = OwnFile::read(folder + comparedFile, mostKeyBytes);
    return content.hasValue() ? QString::fromUtf8(content.value()) : QString();
}

Error ManifestStore::setComparedLast(const QString &referenceKey) const
{
    if (!QFileInfo::exists(folder))
        return {}; // nothing has a manifest, so nothing has bytes to be read
    QSaveFile file(folder + comparedFile);
    if (file.open(QIODevice::WriteOnly))
        file.write(referenceKey.toUtf8());
    if (file.commit())
        return {};
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Writing \"%1\" failed: %2").arg(file.fileName(), file.errorString()));
}

void ManifestStore::removeRemains() const
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const auto &entry : entriesIn(folder, freshSuffix)) {
        const QFileInfo info(folder + u'/' + nameOf(entry));
        if (isFresh(nameOf(entry)) && info.isFile() && info.lastModified().secsTo(now) > daySeconds)
            ZEL_DROP(removeNow(info.filePath())); // the next one tries again
    }
}

} // namespace zel
