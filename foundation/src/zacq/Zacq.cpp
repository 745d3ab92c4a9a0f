#include "zacq/Zacq.h"

#include "Hidden.h"
#include "errors/Propagate.h"
#include "files/HiddenNames_p.h"
#include "platform/FileSync.h"
#include "platform/TreeCopy.h"
#include "platform/TreeRemoval.h"
#include "zacq/SparseConversion.h"
#include "zacq/ZacqFileForm.h"
#include "zacq/ZacqFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::zacq {

namespace {

/// Whether something that calls itself a container is there.
bool hasMark(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() ? ZacqFolder(path).hasManifest()
                        : info.isFile() && ZacqFileForm::hasMagic(path);
}

Error openForReading(QFile *file)
{
    // Not everything that has a name can be opened without waiting for somebody.
    if (QFileInfo(file->fileName()).isFile() && file->open(QIODevice::ReadOnly))
        return {};
    return ZEL_ERROR(
        ErrorCode::OperationFailed,
        Zacq::tr("Reading \"%1\" failed: %2").arg(file->fileName(), file->errorString()));
}

/// The target that belongs to the container; empty without one. A damaged manifest ties nothing to
/// the container.
QString ownTarget(const ZacqFolder &folder)
{
    const auto manifest = folder.readManifest();
    const bool hasTarget = manifest.hasValue() && manifest.value().pointer
        && folder.ownsTarget(*manifest.value().pointer);
    return hasTarget ? folder.targetPath(*manifest.value().pointer) : QString();
}

/// Whether the one folder lies in the other, through whichever links their paths lead.
bool isBelow(const QString &inner, const QString &outer)
{
    return QFileInfo(inner).canonicalFilePath().startsWith(QFileInfo(outer).canonicalFilePath()
                                                           + u'/');
}

/// Ends the container's being at its path, in one step: removed file by file it would look damaged
/// for a while, and to whoever finds it after an interrupted removal for ever. Gives where it is.
Result<QString> withdrawn(const QString &path)
{
    const QFileInfo info(path);
    const QString aside = HiddenNames::leftoverBeside(path);
    if (!QDir().rename(info.absoluteFilePath(), aside))
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         TreeRemoval::tr("Removing \"%1\" failed: %2")
                             .arg(info.absoluteFilePath(), qt_error_string()));
    return aside;
}

/// Brings the target into its container, so that from one moment to the next whatever removes the
/// container removes the target too.
Error takeBack(const ZacqFolder &container, const QString &target)
{
    Error error;
    ZEL_TRY(error, TreeRemoval::remove(container.stagingPath()));
    // A folder without write permission takes nothing in. It is about to go anyway.
    QFile::setPermissions(container.path(),
                          QFile::permissions(container.path()) | QFile::ReadOwner
                              | QFile::WriteOwner | QFile::ExeOwner);
    return ZEL_PASS(FileSync::renameDurably(target, container.stagingPath()));
}

} // namespace

class ZEL_RESOURCE_MANAGER_HIDDEN Zacq::Private
{
public:
    explicit Private(const QString &path)
        : folder(path)
    {
    }

    Result<ZacqManifest> readManifest(Type *readType) const;
    /// Of an open folder form.
    Result<QString> samplePath() const;
    /// Opens the sample, or the container with the sample from the file's position on.
    Error openSample(QFile *file) const;
    Error copyChecked(QFile &source, QFile &target) const;
    /// Code 4 unless this is the sample's digest.
    Error compared(const QByteArray &digest) const;

    const ZacqFolder folder; ///< holds the path of either form
    Type type = Type::Unknown;
    ZacqManifest manifest;
};

Result<ZacqManifest> Zacq::Private::readManifest(Type *readType) const
{
    if (QFileInfo(folder.path()).isDir()) {
        *readType = Type::Folder;
        return ZEL_PASS(folder.readManifest());
    }
    *readType = Type::File;
    QFile file(folder.path());
    Error error;
    ZEL_TRY(error, openForReading(&file));
    return ZEL_PASS(ZacqFileForm::readHead(file));
}

Result<QString> Zacq::Private::samplePath() const
{
    const QString sample = type == Type::Folder ? folder.findSample(manifest) : QString();
    if (!sample.isEmpty())
        return sample;
    return ZEL_ERROR(ErrorCode::BadData,
                     tr("The sample of \"%1\" is not in place.").arg(folder.path()));
}

Error Zacq::Private::openSample(QFile *file) const
{
    Error error;
    if (type != Type::File) {
        ZEL_TRY_LET(const QString sample, samplePath());
        file->setFileName(sample);
        return ZEL_PASS(openForReading(file));
    }
    file->setFileName(folder.path());
    ZEL_TRY(error, openForReading(file));
    ZEL_TRY_LET(const auto head, ZacqFileForm::readHead(*file));
    return error;
}

Error Zacq::Private::copyChecked(QFile &source, QFile &target) const
{
    Error error;
    ZEL_TRY_LET(const FileHash hash,
                ZacqFileForm::copyBytes(source, target, manifest.sampleSize,
                                        manifest.metadata.contentHash.algorithm));
    ZEL_TRY(error, compared(hash.digest));
    ZEL_TRY(error, FileSync::syncFile(target));
    return error;
}

Error Zacq::Private::compared(const QByteArray &digest) const
{
    if (digest == manifest.metadata.contentHash.digest)
        return {};
    return ZEL_ERROR(
        ErrorCode::BadData,
        tr("The sample of \"%1\" does not have its recorded checksum.").arg(folder.path()));
}

bool isZacqFile(const QString &path, bool isThorough)
{
    const bool isFolder = QFileInfo(path).isDir();
    if (!hasMark(path))
        return false;
    if (!isThorough)
        return true;
    Zacq container(path);
    return !container.open(Zacq::Mode::ReadOnly).hasError()
        && (!isFolder || container.sampleFilePath().hasValue());
}

Zacq::Zacq(const QString &path)
    : d(std::make_unique<Private>(path))
{
}

Zacq::~Zacq() = default;

Error Zacq::open(Mode)
{
    d->type = Type::Unknown;
    Type type = Type::Unknown;
    ZEL_TRY_LET(d->manifest, d->readManifest(&type));
    d->type = type;
    return {};
}

Zacq::Type Zacq::getType() const
{
    return d->type;
}

Result<QString> Zacq::sampleFilePath() const
{
    if (d->type == Type::File) {
        return ZEL_ERROR(ErrorCode::FeatureLacking,
                         tr("The sample of \"%1\" is not a file.").arg(d->folder.path()));
    }
    return ZEL_PASS(d->samplePath());
}

const ZacqMetadata &Zacq::metadata() const
{
    return d->manifest.metadata;
}

Error Zacq::makeSparseZacqBlocking(const QString &source, const QString &target)
{
    Error error;
    ZEL_TRY(error, SparseConversion(source, target).run());
    if (d->type == Type::Folder)
        ZEL_TRY(error, open(Mode::ReadOnly));
    return error;
}

bool Zacq::isSparseZacq(const QString &path, bool isThorough)
{
    const ZacqFolder folder(path);
    // remove() takes no link, so that what a link leads to stays; nothing else of it is sparse.
    const QFileInfo info(folder.path());
    if (!info.isDir() || info.isSymLink() || !folder.hasManifest())
        return false;
    const auto manifest = folder.readManifest();
    if (!manifest.hasValue() || !manifest.value().pointer)
        return false;
    return !isThorough || !folder.findSampleInTarget(manifest.value()).isEmpty();
}

QString Zacq::sparseTarget(const QString &path)
{
    const ZacqFolder folder(path);
    // The cheapest question first: as a rule there is no container, and many paths are asked about.
    if (!QFileInfo::exists(folder.manifestPath()) || !isSparseZacq(path, false))
        return {};
    const QString target = ownTarget(folder);
    return isBelow(target, folder.path()) ? QString() : target;
}

qint64 Zacq::manifestSize(const QString &path)
{
    const ZacqFolder folder(path);
    return folder.hasManifest() ? QFileInfo(folder.manifestPath()).size() : 0;
}

std::optional<Zacq::MovedContent> Zacq::movedContent(const QString &path)
{
    const QString target = sparseTarget(path);
    const auto manifest = ZacqFolder(path).readManifest();
    if (target.isEmpty() || !manifest.hasValue())
        return {};
    const QString &sample = manifest.value().samplePath;
    const QString placeInTarget = QFileInfo(manifest.value().targetSamplePath()).path();
    return MovedContent { sample.contains(u'/') ? QFileInfo(sample).path() : QString(),
                          target + u'/' + placeInTarget };
}

Error Zacq::extractSample(const QString &target) const
{
    Error error;
    QFile source;
    ZEL_TRY(error, d->openSample(&source));
    QFile copy(target);
    if (!copy.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Writing \"%1\" failed: %2").arg(target, copy.errorString()));
    }
    error = d->copyChecked(source, copy);
    if (error.hasError())
        copy.remove();
    return ZEL_PASS(error);
}

Error Zacq::verifyContent() const
{
    Error error;
    QFile sample;
    ZEL_TRY(error, d->openSample(&sample));
    QCryptographicHash hash(d->manifest.metadata.contentHash.algorithm);
    if (!hash.addData(&sample) || sample.error() != QFileDevice::NoError) {
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            tr("Reading \"%1\" failed: %2").arg(sample.fileName(), sample.errorString()));
    }
    return ZEL_PASS(d->compared(hash.result()));
}

Error Zacq::remove(const QString &path)
{
    const ZacqFolder folder(path);
    if (QFileInfo(folder.path()).isSymLink() || !hasMark(folder.path()))
        return ZEL_ERROR(ErrorCode::BadArgument, tr("\"%1\" is no ZACQ container.").arg(path));
    Error error;
    const QString target = ownTarget(folder);
    const bool hasTarget = !target.isEmpty();
    if (hasTarget)
        ZEL_TRY(error, takeBack(folder, target));

    const auto aside = withdrawn(folder.path());
    if (!aside.hasValue() && hasTarget) // nothing is removed, so it must open again
        ZEL_DROP(FileSync::renameDurably(folder.stagingPath(), target));
    if (!aside.hasValue())
        return ZEL_PASS(aside.error());
    ZEL_TRY(error, TreeRemoval::remove(aside.value()));
    return error;
}

} // namespace zel::zacq
