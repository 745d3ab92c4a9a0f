#include "zacq/ZacqFolder.h"

#include "errors/Propagate.h"
#include "platform/FileSync.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::zacq {

namespace {

/// The folder so many levels above an absolute path; empty if there is none.
QString ancestor(const QString &path, int levelsUp)
{
    qsizetype end = path.size();
    for (int i = 0; i < levelsUp && end > 0; ++i)
        end = path.lastIndexOf(u'/', end - 1);
    return end > 0 ? path.left(end) : QString();
}

QString canonical(const QString &path)
{
    return QFileInfo(path).canonicalFilePath();
}

/// The file at `relativePath` below the folder, if it is a file of that size and no link leads
/// there. Empty otherwise.
QString plainFile(const QString &folder, const QString &relativePath, qint64 size)
{
    const QString path = folder + u'/' + relativePath;
    const QFileInfo info(path);
    const bool isThere = info.isFile() && info.size() == size
        && info.canonicalFilePath() == canonical(folder) + u'/' + relativePath;
    return isThere ? path : QString();
}

} // namespace

ZacqFolder::ZacqFolder(const QString &path)
    : folderPath(QDir::cleanPath(QFileInfo(path).absoluteFilePath()))
{
}

QString ZacqFolder::manifestPath() const
{
    return folderPath + u'/' + manifestName;
}

QString ZacqFolder::stagingPath() const
{
    return folderPath + u'/' + stagingName;
}

bool ZacqFolder::hasManifest() const
{
    const QFileInfo manifest(manifestPath());
    return manifest.isFile() && !manifest.isSymLink();
}

Result<ZacqManifest> ZacqFolder::readManifest() const
{
    QFile file(manifestPath());
    if (!hasManifest() || file.size() > manifestMaxSize) {
        return ZEL_ERROR(ErrorCode::BadData, tr("\"%1\" is no ZACQ container.").arg(folderPath));
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Reading \"%1\" failed: %2").arg(file.fileName(), file.errorString()));
    }
    ZEL_TRY_LET(const auto manifest, ZacqManifest::fromJson(file.read(manifestMaxSize)));
    if (!manifest.samplePath.isEmpty())
        return manifest;
    return ZEL_ERROR(ErrorCode::BadData,
                     tr("The ZACQ container \"%1\" names no sample file.").arg(folderPath));
}

Error ZacqFolder::writeManifest(const ZacqManifest &manifest) const
{
    const QByteArray json = manifest.toJson();
    // What could not be read again would cut the container off from its sample.
    ZEL_TRY_LET(const auto readAgain, ZacqManifest::fromJson(json));
    return ZEL_PASS(FileSync::replaceContent(manifestPath(), json));
}

QString ZacqFolder::targetPath(const ZacqManifest::Pointer &pointer) const
{
    const QString real = ancestor(canonical(folderPath), pointer.levelsUp);
    if (real.isEmpty())
        return {};
    // As the caller spells the folders, unless a link among them leads elsewhere.
    const QString spelled = ancestor(folderPath, pointer.levelsUp);
    const QString &base = canonical(spelled) == real ? spelled : real;
    return base + u'/' + targetsFolderName + u'/' + pointer.targetName;
}

bool ZacqFolder::ownsTarget(const ZacqManifest::Pointer &pointer) const
{
    const QString owner = canonical(folderPath);
    const QString base = ancestor(owner, pointer.levelsUp);
    const QString target = base + u'/' + targetsFolderName + u'/' + pointer.targetName;
    if (base.isEmpty() || canonical(target) != target || owner.startsWith(target + u'/'))
        return false;
    const auto manifest = ZacqFolder(target).readManifest();
    if (!manifest.hasValue() || !manifest.value().owner)
        return false;
    const ZacqManifest::Owner wanted = ownerOf(pointer);
    return manifest.value().owner->path == wanted.path && manifest.value().owner->id == wanted.id;
}

ZacqManifest::Owner ZacqFolder::ownerOf(const ZacqManifest::Pointer &pointer) const
{
    const QString owner = canonical(folderPath);
    return { owner.sliced(ancestor(owner, pointer.levelsUp).size() + 1), pointer.id };
}

QString ZacqFolder::findSample(const ZacqManifest &manifest) const
{
    QString sample = findSampleInTarget(manifest);
    if (sample.isEmpty())
        sample = findSampleInStaging(manifest);
    return sample.isEmpty() ? findOwnSample(manifest) : sample;
}

QString ZacqFolder::findSampleInTarget(const ZacqManifest &manifest) const
{
    if (!manifest.pointer || !ownsTarget(*manifest.pointer))
        return {};
    return plainFile(targetPath(*manifest.pointer), manifest.targetSamplePath(),
                     manifest.sampleSize);
}

QString ZacqFolder::findSampleInStaging(const ZacqManifest &manifest) const
{
    if (!manifest.pointer)
        return {};
    return plainFile(folderPath, stagingName + u'/' + manifest.targetSamplePath(),
                     manifest.sampleSize);
}

QString ZacqFolder::findOwnSample(const ZacqManifest &manifest) const
{
    return plainFile(folderPath, manifest.samplePath, manifest.sampleSize);
}

} // namespace zel::zacq
