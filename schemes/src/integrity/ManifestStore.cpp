#include "integrity/ManifestStore.h"

#include "NativePath.h"
#include "OwnFile.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "platform/FileSync.h"
#include "platform/NativeFile.h"
#include "references/CacheFileName.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView suffix(".json");
constexpr QLatin1StringView freshSuffix(".new");
constexpr qint64 daySeconds = 24ll * 60 * 60;

/// All of the bytes are on the disk afterwards.
Error writeNew(const std::filesystem::path &path, const QByteArray &content)
{
    Error error;
    ZEL_TRY_LET(NativeFile file, NativeFile::open(path, NativeFile::Mode::ReadWrite));
    ZEL_TRY(error, file.writeAt(0, content.constData(), content.size()));
    ZEL_TRY(error, file.sync());
    return error;
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
    if (!QFileInfo::exists(path))
        return std::optional<ContentManifest>();
    ZEL_TRY_LET(ContentManifest manifest, readPath(path));
    if (manifest.referenceKey != referenceKey) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("\"%1\" is the manifest of another resource.").arg(path));
    }
    return std::optional(std::move(manifest));
}

Result<ContentManifest> ManifestStore::readPath(const QString &path) const
{
    ZEL_TRY_LET(const QByteArray content, OwnFile::read(path, mostBytes));
    auto manifest = ContentManifest::fromJson(content);
    if (!manifest.hasValue() || pathFor(manifest.value().referenceKey) != path)
        return ZEL_ERROR(ErrorCode::BadData, tr("\"%1\" is no manifest.").arg(path));
    return manifest;
}

Error ManifestStore::write(const ContentManifest &manifest) const
{
    Error error;
    ZEL_TRY(error, FileUtilsGeneric::mkPath(folder));
    const QString path = pathFor(manifest.referenceKey);
    const QString fresh = path + u'.' + QUuid::createUuid().toString(QUuid::Id128) + freshSuffix;
    error = writeNew(nativePath(fresh), manifest.toJson());
    if (!error.hasError())
        error = FileSync::renameDurably(fresh, path);
    if (error.hasError())
        QFile::remove(fresh);
    return ZEL_PASS(error);
}

Result<bool> ManifestStore::writeIfSameFetch(const ContentManifest &manifest) const
{
    Error error;
    ZEL_TRY_LET(const auto stored, read(manifest.referenceKey));
    if (!stored || stored->id != manifest.id)
        return false;
    ZEL_TRY(error, write(manifest));
    return true;
}

Error ManifestStore::remove(const QString &referenceKey) const
{
    return ZEL_PASS(removePath(pathFor(referenceKey)));
}

Error ManifestStore::removePath(const QString &path) const
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
    const QDir directory(folder);
    const QStringList names = directory.entryList({ u'*' + suffix }, QDir::Files, QDir::NoSort);
    for (const QString &name : names)
        found << folder + u'/' + name;
    return found;
}

void ManifestStore::removeRemains() const
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QFileInfoList remains
        = QDir(folder).entryInfoList({ u'*' + freshSuffix }, QDir::Files, QDir::NoSort);
    for (const QFileInfo &info : remains) {
        if (info.lastModified().secsTo(now) > daySeconds)
            ZEL_DROP(removePath(info.filePath())); // the next one tries again
    }
}

} // namespace zel
