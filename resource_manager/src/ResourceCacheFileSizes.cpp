#include "AssociatedResourcesProviderInterface.h"
#include "ResourceCache_p.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "zacq/Zacq.h"

#include <QDateTime>
#include <QElapsedTimer>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

qint64 contentSizeWithAssociated(const QString &path, const QList<QString> &associated)
{
    qint64 size = FileUtilsGeneric::contentSize(path);
    for (const QString &entry : associated)
        size += FileUtilsGeneric::contentSize(entry);
    // Most of it lies there, and goes when the resource goes.
    const QString target = zacq::Zacq::sparseTarget(path);
    return target.isEmpty() ? size : size + FileUtilsGeneric::contentSize(target);
}

} // namespace

QList<QString> ResourceCache::Private::associatedResourcesFor(const QString &path) const
{
    QList<QString> associated;
    for (const auto &[type, provider] : associatedResourcesProviders) {
        if (FileTypes::isType(path, type))
            associated += provider->getAssociatedResources(path);
    }
    return associated;
}

Error ResourceCache::Private::updateFileSize(const QString &reference)
{
    ZEL_TRY_LET(const auto resource,
                dao->selectResourceWithStatus(reference, ResourceStatus::Ready));
    QElapsedTimer timer;
    timer.start();
    Error error;
    ZEL_TRY(error, updateFileSize(resource, nullptr));
    qCDebug(lcResourceManager).noquote()
        << u"Counted the size of a resource in %1 ms"_s.arg(timer.elapsed());
    return error;
}

Error ResourceCache::Private::updateFileSize(const ResourceCacheDao::Resource &resource,
                                             TransactionContext *context)
{
    const QList<QString> associated = associatedResourcesFor(resource.cachedPath);
    const qint64 size = contentSizeWithAssociated(resource.cachedPath, associated);
    if (size == resource.fileSize)
        return Error();
    return context ? ZEL_PASS(dao->updateResourceSize(context, resource.id, size))
                   : ZEL_PASS(dao->updateResourceSize(resource.id, size));
}

Error ResourceCache::Private::updateFileSizes()
{
    QElapsedTimer timer;
    timer.start();

    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY_LET(const auto resources, dao->selectResourcesWithStatus(ResourceStatus::Ready));
    for (const ResourceCacheDao::Resource &resource : resources)
        ZEL_TRY(error, updateFileSize(resource, context.get()));
    ZEL_TRY(error, dao->updateLastScanTimestamp(context.get(), QDateTime::currentSecsSinceEpoch()));
    ZEL_TRY(error, context->commit());

    qCDebug(lcResourceManager).noquote() << u"Counted the sizes of %1 resources in %2 ms"_s.arg(
        QString::number(resources.size()), QString::number(timer.elapsed()));
    return error;
}

Error ResourceCache::Private::rebuildMetadata()
{
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY(error, dao->rebuildMetadata(context.get()));
    ZEL_TRY(error, context->commit());
    return error;
}

} // namespace zel
