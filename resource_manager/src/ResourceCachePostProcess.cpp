#include "ResourceCache_p.h"

#include "ShortContainerPlace.h"
#include "errors/Propagate.h"
#include "zacq/Zacq.h"

#include <QElapsedTimer>
#include <QFileInfo>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

// In UTF-16 units: what programs of some platforms can still open, with room for what they append.
constexpr qsizetype longestSamplePath = 217;
constexpr qsizetype targetPathLimit = 218;

bool isSameContent(const zacq::Zacq &left, const zacq::Zacq &right)
{
    return left.metadata().sampleName == right.metadata().sampleName
        && left.metadata().contentHash == right.metadata().contentHash;
}

} // namespace

Error ResourceCache::Private::postProcess(const QString &reference, const UnknownPath &path)
{
    Error error;
    qCDebug(lcResourceManager) << "Postprocessing" << reference;
    if (!fixLongZacqFilePaths)
        return error;
    const QString absolute = QFileInfo(path.toString()).absoluteFilePath();
    if (zacq::isZacqFile(absolute, false)) {
        qCDebug(lcResourceManager) << "ZACQ file detected, fixing long path if needed";
        ZEL_TRY(error, fixLongZacqFileName(reference, absolute));
    }
    return error;
}

Error ResourceCache::Private::fixLongZacqFileName(const QString &reference, const QString path)
{
    Error error;
    zacq::Zacq container(path);
    ZEL_TRY(error, container.open(zacq::Zacq::Mode::ReadOnly));
    if (container.getType() != zacq::Zacq::Type::Folder) {
        return ZEL_ERROR(ErrorCode::UnsupportedContainer, tr("Only Folder ZACQ is supported"));
    }
    ZEL_TRY_LET(const QString samplePath, container.sampleFilePath());
    if (samplePath.size() <= longestSamplePath)
        return error;

    qCDebug(lcResourceManager) << path << "is too long, applying fix...";
    const QString dataDir = QFileInfo(cachePath.cacheDataDir().toString()).absoluteFilePath();
    const QString target = ShortContainerPlace::pathIn(dataDir, reference);
    if (target.size() >= targetPathLimit)
        return ZEL_ERROR(ErrorCode::BadData, tr("Sample name is too long"));
    if (QFileInfo::exists(target))
        return ZEL_PASS(acceptExistingTarget(reference, path, target, container));

    qCDebug(lcResourceManager) << "Converting" << path << "to" << target << "as sparse ZACQ";
    QElapsedTimer timer;
    timer.start();
    ZEL_TRY(error, container.makeSparseZacqBlocking(path, target));
    // Everybody has waited for it.
    qCDebug(lcResourceManager).noquote()
        << u"The conversion took %1 ms"_s.arg(QString::number(timer.elapsed()));
    return error;
}

/// Reads the resource's own container a second time, not the target: what holds the short name is
/// taken for this resource's as long as its container can still be read.
Error ResourceCache::Private::acceptExistingTarget(const QString &reference, const QString &path,
                                                   const QString &target,
                                                   const zacq::Zacq &container)
{
    qCDebug(lcResourceManager) << "Hash folder" << target << "already exists";
    zacq::Zacq again(path);
    const Error error = again.open(zacq::Zacq::Mode::ReadOnly);
    if (error.hasError() || !isSameContent(container, again)) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("Target hash folder for sparse ZACQ already exists"));
    }
    qCDebug(lcResourceManager)
        << reference << "has already been represented by this sparse ZACQ instance, skipping...";
    return Error();
}

} // namespace zel
