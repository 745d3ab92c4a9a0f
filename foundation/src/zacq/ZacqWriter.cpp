#include "zacq/ZacqWriter.h"

#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "platform/FileSync.h"
#include "platform/TreeCopy.h"
#include "zacq/ZacqFileForm.h"
#include "zacq/ZacqFolder.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace zel::zacq {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A hidden folder beside a path, in which what comes there is built.
class WorkFolder
{
public:
    explicit WorkFolder(const QString &path)
        : folder(QFileInfo(path).absolutePath() + u"/.zel-zacq-XXXXXX"_s)
    {
    }

    Result<QString> pathInside() const
    {
        if (folder.isValid())
            return folder.filePath(u"container"_s);
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         ZacqWriter::tr("The folder \"%1\" cannot be created: %2")
                             .arg(folder.path(), folder.errorString()));
    }

private:
    const QTemporaryDir folder;
};

Error checkIsFree(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return {};
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     ZacqWriter::tr("\"%1\" exists already.").arg(path));
}

Result<ZacqManifest> manifestOf(const QString &sampleFile, const QString &sampleName)
{
    ZacqManifest manifest;
    manifest.metadata.sampleName = sampleName;
    manifest.sampleSize = QFileInfo(sampleFile).size();
    ZEL_TRY_LET(manifest.metadata.contentHash, FileHash::ofFile(sampleFile));
    if (manifest.toJson().size() <= manifestMaxSize)
        return manifest;
    return ZEL_ERROR(ErrorCode::BadArgument, ZacqWriter::tr("The sample's name is too long."));
}

Error writeFileForm(const QString &path, const QString &sampleFile, const ZacqManifest &manifest)
{
    Error error;
    QFile source(sampleFile);
    QFile target(path);
    const QByteArray head = ZacqFileForm::head(manifest);
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly)
        || target.write(head) != head.size()) {
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            ZacqWriter::tr("Copying \"%1\" failed: %2")
                .arg(sampleFile, source.isOpen() ? target.errorString() : source.errorString()));
    }
    const FileHash &expected = manifest.metadata.contentHash;
    ZEL_TRY_LET(const FileHash hash,
                ZacqFileForm::copyBytes(source, target, manifest.sampleSize, expected.algorithm));
    if (!(hash == expected)) {
        return ZEL_ERROR(ErrorCode::BadData,
                         ZacqWriter::tr("\"%1\" has changed meanwhile.").arg(sampleFile));
    }
    ZEL_TRY(error, FileSync::syncFile(target));
    return error;
}

} // namespace

Error ZacqWriter::createFolder(const QString &path, const QString &sampleFile,
                               const QString &samplePath, const QString &sampleName)
{
    Error error;
    if (!isSamplePath(samplePath)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("\"%1\" is no place for a sample.").arg(samplePath));
    }
    ZEL_TRY(error, checkIsFree(path));
    const WorkFolder work(path);
    ZEL_TRY_LET(const QString workPath, work.pathInside());
    const ZacqFolder folder(workPath);
    const QString sample = folder.path() + u'/' + samplePath;
    ZEL_TRY(error, FileUtilsGeneric::mkPathDurably(QFileInfo(sample).path()));
    ZEL_TRY(error, TreeCopy::copyFile(sampleFile, sample, {}));
    ZEL_TRY_LET(ZacqManifest manifest, manifestOf(sample, sampleName));
    manifest.samplePath = samplePath;
    ZEL_TRY(error, folder.writeManifest(manifest));
    ZEL_TRY(error, FileSync::renameDurably(folder.path(), path));
    return error;
}

Error ZacqWriter::createFile(const QString &path, const QString &sampleFile,
                             const QString &sampleName)
{
    Error error;
    ZEL_TRY(error, checkIsFree(path));
    ZEL_TRY_LET(const ZacqManifest manifest, manifestOf(sampleFile, sampleName));
    const WorkFolder work(path);
    ZEL_TRY_LET(const QString file, work.pathInside());
    ZEL_TRY(error, writeFileForm(file, sampleFile, manifest));
    ZEL_TRY(error, FileSync::renameDurably(file, path));
    return error;
}

} // namespace zel::zacq
