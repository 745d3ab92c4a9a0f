#include "RemoteResourceHandler.h"
#include "ResourceHandlerFactory.h"
#include "ResourceHandlerUtils.h"
#include "ResourceItem.h"
#include "ResourceMetadataFactory.h"
#include "ResourcePromptingInterface.h"
#include "Surface.h"
#include "tasks/GetSiblingsTask.h"

using namespace zel;

namespace notes {

namespace {

using Reference = QSharedPointer<ResourceReference>;
using References = QList<QSharedPointer<ResourceReference>>;
using Handler = QSharedPointer<ResourceHandler>;
using Handlers = QList<QSharedPointer<ResourceHandler>>;
using RawHandlers = QList<ResourceHandler *>;
using Path = PathImpl<PathType::Unknown>;
using Dir = PathImpl<PathType::Dir>;
using Mode = ResourceHandler::RetrieveMode;
using Type = ResourceHandler::AsyncProcessingType;
using TaskResult = Result<std::unique_ptr<Task>>;

/// A handler of a resource that is here anyway; what subclasses may use is open.
class OpenHandler : public ResourceHandler
{
public:
    explicit OpenHandler(const Reference &reference)
        : ResourceHandler(reference)
    {
    }
    using ResourceHandler::create;
    using ResourceHandler::existsTask;
    using ResourceHandler::localPath;
    using ResourceHandler::metadataTask;
    using ResourceHandler::retrieveTask;
};

class LocalHandler : public OpenHandler
{
public:
    using OpenHandler::OpenHandler;

    Result<ResourceCleanupPolicy> cleanupPolicy() const override
    {
        return ResourceCleanupPolicy::Never;
    }
    Error setCleanupPolicy(const ResourceCleanupPolicy &) override { return Error(); }
    std::unique_ptr<Task> existsTask() const override { return nullptr; }
    std::optional<std::unique_ptr<Task>> retrieveTask() override { return std::nullopt; }
    std::unique_ptr<Task> metadataTask() const override { return nullptr; }
    Result<Path> localPath() const override { return Path(QString()); }
};

class OpenRemoteHandler : public RemoteResourceHandler
{
public:
    using RemoteResourceHandler::cacheFileName;
    using RemoteResourceHandler::createRetrieveTask;
    using RemoteResourceHandler::localPath;
    using RemoteResourceHandler::retrieveTask;
};

void nameHandler(Surface &surface)
{
    static_assert(std::is_copy_constructible_v<LocalHandler>);
    static_assert(std::is_copy_assignable_v<LocalHandler>);
    surface.constructor<LocalHandler, const Reference &>();
    surface.constructor<LocalHandler, const LocalHandler &>();
    surface.function<Result<Handler>(Reference, ResourceCache *)>(&OpenHandler::create);
    surface.member<Reference() const>(&ResourceHandler::reference);
    surface.member<Result<bool>() const>(&ResourceHandler::exists);
    surface.member<TaskResult(Type) const>(&ResourceHandler::existsAsync);
    surface.member<QCoro::Task<Result<bool>>() const>(&ResourceHandler::co_exists);
    surface.member<Result<Path>() const>(&ResourceHandler::expectedPath);
    surface.member<Result<Path>() const>(&ResourceHandler::grab);
    surface.member<QCoro::Task<Result<Path>>() const>(&ResourceHandler::co_grab);
    surface.member<Error(ResourcePromptingInterface *)>(&ResourceHandler::retrieve);
    surface.member<TaskResult(Type, ResourcePromptingInterface *)>(&ResourceHandler::retrieveAsync);
    surface.member<Result<QSharedPointer<ResourceMetadata>>() const>(
        &ResourceHandler::retrieveMetadata);
    surface.member<TaskResult(Type) const>(&ResourceHandler::retrieveMetadataAsync);
    surface.member<void(Mode)>(&ResourceHandler::overrideRetrieveMode);
    surface.member<std::optional<Mode>() const>(&ResourceHandler::overridenRetrieveMode);
    surface.member<void()>(&ResourceHandler::cleanOverridenRetrieveMode);
}

void nameHandlerOperations(Surface &surface)
{
    surface.member<Result<ResourceCleanupPolicy>() const>(&ResourceHandler::cleanupPolicy);
    surface.member<Error(const ResourceCleanupPolicy &)>(&ResourceHandler::setCleanupPolicy);
    surface.member<bool() const>(&ResourceHandler::isAvailableLocally);
    surface.member<Result<std::unique_ptr<GetSiblingsTask>>() const>(&ResourceHandler::siblings);
    surface.member<std::unique_ptr<Task>() const>(&OpenHandler::existsTask);
    surface.member<std::optional<std::unique_ptr<Task>>()>(&OpenHandler::retrieveTask);
    surface.member<std::unique_ptr<Task>() const>(&OpenHandler::metadataTask);
    surface.member<Result<Path>() const>(&OpenHandler::localPath);
    surface.inSlots(0, &ResourceHandler::cleanupPolicy, &ResourceHandler::setCleanupPolicy,
                    &ResourceHandler::isAvailableLocally, &ResourceHandler::siblings,
                    &OpenHandler::existsTask, &OpenHandler::retrieveTask,
                    &OpenHandler::metadataTask, &OpenHandler::localPath);

    static_assert(std::is_same_v<std::underlying_type_t<Mode>, qint32>);
    static_assert(ResourceHandler::Prompt == 0 && ResourceHandler::NoPrompt == 1);
    static_assert(std::is_same_v<std::underlying_type_t<Type>, qint32>);
    static_assert(ResourceHandler::Queued == 0 && ResourceHandler::Manual == 1);
}

void nameRemoteHandler(Surface &surface)
{
    static_assert(std::is_base_of_v<ResourceHandler, RemoteResourceHandler>);
    surface.member<Error(const Path &)>(&RemoteResourceHandler::addToCache);
    surface.member<Error(const std::function<Error()> &)>(&RemoteResourceHandler::addToCache);
    surface.member<std::unique_ptr<Task>(const Dir &)>(&OpenRemoteHandler::createRetrieveTask);
    surface.member<QString() const>(&OpenRemoteHandler::cacheFileName);
    surface.inSlots(5, &OpenRemoteHandler::retrieveTask);
    surface.inSlots(7, &OpenRemoteHandler::localPath, &OpenRemoteHandler::createRetrieveTask,
                    &OpenRemoteHandler::cacheFileName);
}

void namePrompting(Surface &surface)
{
    using Prompting = ResourcePromptingInterface;
    static_assert(std::has_virtual_destructor_v<Prompting>);
    static_assert(std::is_copy_assignable_v<Prompting>);
    surface.member<bool(const References &)>(&Prompting::confirmRetrieve);
    surface.member<References()>(&Prompting::confirmedReferences);
    surface.inSlots(0, &Prompting::confirmRetrieve, &Prompting::confirmedReferences);
}

void nameMetadata(Surface &surface)
{
    using Metadata = ResourceMetadata;
    static_assert(std::has_virtual_destructor_v<Metadata>);
    static_assert(std::is_copy_assignable_v<Metadata>);
    static_assert(int(Metadata::ItemType::Invalid) == 0);
    static_assert(int(Metadata::ItemType::File) == 1);
    static_assert(int(Metadata::ItemType::Folder) == 2);
    surface.holds(Metadata::staticMetaObject.indexOfEnumerator("ItemType") >= 0);
    surface
        .function<Result<QSharedPointer<Metadata>>(const QJsonObject &, ResourceReference::Scheme)>(
            &Metadata::fromJson);
    surface.member<QString() const>(&Metadata::metadataName);
    surface.member<QString() const>(&Metadata::metadataPath);
    surface.member<QString() const>(&Metadata::metadataFullPath);
    surface.member<QJsonObject() const>(&Metadata::toJson);
    surface.inSlots(0, &Metadata::metadataName, &Metadata::metadataPath,
                    &Metadata::metadataFullPath, &Metadata::metadataType,
                    &Metadata::metadataItemType, &Metadata::toJson, &Metadata::metadataVersion);
    surface.function<unsigned int(Metadata::ItemType, unsigned int)>(&zel::qHash);
    surface.holds(kName == u"Name" && kPath == u"Path" && kFullPath == u"FullPath");
    surface.holds(kType == u"Type" && kItemType == u"ItemType");
    surface.member<QSharedPointer<ResourceReference>>(&ResourceItem::reference);
    surface.member<QSharedPointer<ResourceMetadata>>(&ResourceItem::metadata);
    surface.constructor<ResourceItem>();
}

void nameFactories(Surface &surface)
{
    using Scheme = ResourceReference::Scheme;
    using MetadataResult = Result<QSharedPointer<ResourceMetadata>>;
    static_assert(
        std::is_same_v<ResourceHandlerCreator,
                       std::function<Result<Handler>(const Reference &, ResourceCache *)>>);
    static_assert(std::is_same_v<ResourceMetadataCreator,
                                 std::function<MetadataResult(const QJsonObject &)>>);

    surface.function<void(Scheme, const ResourceHandlerCreator &)>(
        &ResourceHandlerFactory::registerResourceHandlerScheme);
    surface.function<void(Scheme)>(&ResourceHandlerFactory::unregisterResourceHandlerScheme);
    surface.function<Result<Handler>(const Reference &, ResourceCache *)>(
        &ResourceHandlerFactory::create);
    surface.constant<QMap<Scheme, ResourceHandlerCreator>>(&ResourceHandlerFactory::s_createFuncs);

    surface.function<void(Scheme, const ResourceMetadataCreator &)>(
        &ResourceMetadataFactory::registerMetadataScheme);
    surface.function<void(Scheme)>(&ResourceMetadataFactory::unregisterMetadataScheme);
    surface.function<MetadataResult(const QJsonObject &, Scheme)>(&ResourceMetadataFactory::create);
    surface.constant<QMap<Scheme, ResourceMetadataCreator>>(
        &ResourceMetadataFactory::s_createFuncs);
}

void nameUtilities(Surface &surface)
{
    namespace Utils = ResourceHandlerUtils;
    surface.function<bool(const Reference &)>(&Utils::checkExists);
    surface.function<Result<bool>(const Reference &)>(&Utils::exists);
    surface.function<bool(const ResourceHandler *, const ResourceHandler *)>(&Utils::compare);
    surface.function<bool(const Handler &, const Handler &)>(&Utils::compare);
    surface.function<bool(const RawHandlers &, const ResourceHandler *)>(&Utils::contains);
    surface.function<bool(const Handlers &, const Handler &)>(&Utils::contains);
    surface.function<bool(const QString &)>(&Utils::validateReference);
    surface.function<bool(const Reference &)>(&Utils::validateReference);
    surface.function<Error(const Handlers &)>(&Utils::confirmPrivileges);
    surface.function<QString(const Reference &)>(&Utils::path);
    surface.function<QString(const Reference &)>(&Utils::fullPath);
    surface.function<Result<QString>(Reference)>(&Utils::localPath);
    surface.function<Result<QList<QString>>(const Handlers &)>(&Utils::localPaths);
    surface.function<Result<References>(const References &)>(&Utils::missingResources);
}

} // namespace

void nameHandlers(Surface &surface)
{
    nameHandler(surface);
    nameHandlerOperations(surface);
    nameRemoteHandler(surface);
    namePrompting(surface);
    nameMetadata(surface);
    nameFactories(surface);
    nameUtilities(surface);
}

} // namespace notes
