#include "zacq/SparseConversion.h"

#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "platform/FileSync.h"
#include "platform/TreeRemoval.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

namespace zel::zacq {

SparseConversion::SparseConversion(const QString &source, const QString &target)
    : container(source)
    , target(QDir::cleanPath(QFileInfo(target).absoluteFilePath()))
{
}

Error SparseConversion::run()
{
    Error error;
    ZEL_TRY(error, prepare());
    if (isDone())
        return error;
    ZEL_TRY(error, clearTarget());
    ZEL_TRY(error, point());
    ZEL_TRY(error, stage());
    ZEL_TRY(error, move());
    ZEL_TRY(error, publish());
    return error;
}

Error SparseConversion::prepare()
{
    Error error;
    ZEL_TRY_LET(manifest, container.readManifest());
    if (container.findSample(manifest).isEmpty()) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("The sample of \"%1\" is not in place.").arg(container.path()));
    }
    ZEL_TRY(error, chooseTarget());
    if (!manifest.pointer)
        return error;
    if (container.targetPath(*manifest.pointer) == container.targetPath(pointer)) {
        pointer.id = manifest.pointer->id;
    } else if (container.ownsTarget(*manifest.pointer)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("\"%1\" is sparse already, with its sample in another place.")
                             .arg(container.path()));
    }
    return error;
}

/// The pointer can only say "so many folders up, then zacq/NAME.zacq": the target has to be there.
Error SparseConversion::chooseTarget()
{
    const QFileInfo info(target);
    const QString base = QFileInfo(QFileInfo(info.path()).path()).canonicalFilePath();
    const QString owner = QFileInfo(container.path()).canonicalFilePath();
    pointer.levelsUp = static_cast<int>(owner.sliced(qMin(base.size(), owner.size())).count(u'/'));
    pointer.targetName = info.fileName();
    pointer.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const bool isUsable = !base.isEmpty() && owner.startsWith(base + u'/')
        && QFileInfo(info.path()).fileName() == targetsFolderName && pointer.isUsable()
        && isInsidePath(owner.sliced(base.size() + 1));
    if (!isUsable) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("\"%1\" is no place for the sample of \"%2\".").arg(target, container.path()));
    }
    return {};
}

bool SparseConversion::isDone() const
{
    return !container.findSampleInTarget(manifest).isEmpty();
}

/// Makes way. A target that names this place as its owner, but not this container, belonged to one
/// that was here before.
Error SparseConversion::clearTarget()
{
    const QFileInfo info(target);
    if (!info.exists() && !info.isSymLink())
        return {};
    const auto former = ZacqFolder(target).readManifest();
    const bool isLeftover = !info.isSymLink() && former.hasValue() && former.value().owner
        && former.value().owner->path == container.ownerOf(pointer).path;
    if (!isLeftover) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("\"%1\" belongs to another ZACQ container.").arg(target));
    }
    // Into the container first: an interrupted removal must not leave a part that nobody owns.
    Error error;
    const QString removed = container.path() + u'/' + removedName;
    ZEL_TRY(error, TreeRemoval::remove(removed));
    ZEL_TRY(error, FileSync::renameDurably(target, removed));
    ZEL_TRY(error, TreeRemoval::remove(removed));
    return error;
}

Error SparseConversion::point()
{
    manifest.pointer = pointer;
    return ZEL_PASS(container.writeManifest(manifest));
}

Error SparseConversion::stage()
{
    Error error;
    // What came with the container under this name, be it a link, is no part of it.
    if (container.findSampleInStaging(manifest).isEmpty())
        ZEL_TRY(error, TreeRemoval::remove(container.stagingPath()));
    ZEL_TRY(error, FileUtilsGeneric::mkPathDurably(container.stagingPath()));
    ZacqManifest staged;
    staged.metadata = manifest.metadata;
    staged.sampleSize = manifest.sampleSize;
    staged.samplePath = manifest.targetSamplePath();
    staged.owner = container.ownerOf(pointer);
    return ZEL_PASS(ZacqFolder(container.stagingPath()).writeManifest(staged));
}

Error SparseConversion::move()
{
    if (!container.findSampleInStaging(manifest).isEmpty())
        return {};
    const QString staged = container.stagingPath() + u'/' + targetSampleFolder;
    const QFileInfo sample(container.path() + u'/' + manifest.samplePath);
    if (manifest.samplePath.contains(u'/'))
        return ZEL_PASS(FileSync::renameDurably(sample.path(), staged));
    // A sample beside the manifest has no folder of its own that could move.
    Error error;
    ZEL_TRY(error, FileUtilsGeneric::mkPathDurably(staged));
    return ZEL_PASS(FileSync::renameDurably(sample.filePath(), staged + u'/' + sample.fileName()));
}

Error SparseConversion::publish()
{
    Error error;
    const QString targets = QFileInfo(target).path();
    ZEL_TRY(error, FileUtilsGeneric::mkPathDurably(targets));
    if (QFileInfo(targets).isSymLink()) {
        return ZEL_ERROR(ErrorCode::BadData, tr("\"%1\" is a link and not a folder.").arg(targets));
    }
    return ZEL_PASS(FileSync::renameDurably(container.stagingPath(), target));
}

} // namespace zel::zacq
