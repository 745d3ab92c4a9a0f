#include "ResourceCache.h"
#include "ResourceCacheDao.h"
#include "ResourceManager.h"
#include "ResourceRetrieveHandle.h"
#include "Surface.h"
#include "tasks/GetSiblingsTask.h"

using namespace zel;

namespace notes {

namespace {

template<typename T>
void nameResult(Surface &surface)
{
    static_assert(std::is_base_of_v<Warnings, Result<T>>);
    surface.constructor<Result<T>, T &&>();
    surface.constructor<Result<T>, const Error &>();
    surface.constructor<Result<T>, Result<T> &&>();
    surface.template member<bool() const>(&Result<T>::hasValue);
    surface.template member<const T &() const &>(&Result<T>::value);
    surface.template member<const Error &() const>(&Result<T>::error);
}

template<typename... T>
void nameAll(Surface &surface)
{
    (nameResult<T>(surface), ...);
}

} // namespace

void nameResults(Surface &surface)
{
    nameAll<bool, int, qint64, QString, QList<QString>, QList<qint64>, std::optional<int>>(surface);
    nameAll<PathImpl<PathType::Unknown>, PathImpl<PathType::Dir>>(surface);
    nameAll<ResourceStatus, ResourceCleanupPolicy, ResourceReference::Scheme>(surface);

    using Reference = QSharedPointer<ResourceReference>;
    using Handler = QSharedPointer<ResourceHandler>;
    nameAll<Reference, QList<Reference>, Handler, QList<Handler>, QHash<Reference, Handler>,
            QSharedPointer<ResourceMetadata>>(surface);

    nameAll<std::unique_ptr<Task>, std::unique_ptr<GroupTask>, std::unique_ptr<GetSiblingsTask>,
            std::unique_ptr<ResourceCache::InUseHandle>>(surface);

    using Dao = ResourceCacheDao;
    nameAll<std::unique_ptr<Dao::TransactionContext>, Dao::Resource, QList<Dao::Resource>,
            QList<Dao::VersionableResource>, QList<Dao::ReferenceAndPath>,
            QList<Dao::ResourceUsage>, ResourceRetrieveHandle::ProgressAndStatus>(surface);
}

} // namespace notes
