#include "dav/DavTasks.h"

#include "SchemeMetadata.h"
#include "WorkerTask.h"
#include "dav/DavTree.h"
#include "errors/Propagate.h"
#include "folder/FolderRetrieval.h"
#include "http/HttpTasks.h"
#include "references/PercentEncoding.h"

#include <QCoreApplication>

namespace zel::DavTasks {

using namespace Qt::Literals::StringLiterals;

namespace {

/// One question about a resource, or the fetch of it.
class Work
{
    Q_DECLARE_TR_FUNCTIONS(zel::DavTasks)

public:
    Work(const Reference &reference, const HttpSettings &settings, const Task *task)
        : reference(reference)
        , settings(settings)
        , client(this->settings, reference->referenceText(true), watchOf(task))
    {
    }

    Result<DavProbe> probe()
    {
        ZEL_TRY_LET(const HttpUrl url, HttpUrl::parse(reference->requestUrl()));
        return ZEL_PASS(client.describe(url));
    }
    /// Code 1 if it is not there.
    Result<DavResource> resource()
    {
        ZEL_TRY_LET(const DavProbe found, probe());
        if (!found.exists)
            return ZEL_PASS(found.refusal);
        return found.resource;
    }

    Result<QSharedPointer<ResourceMetadata>> metadata();
    Error retrieve(const FetchPlan &plan, Task *task);
    Result<GetSiblingsTask::References> siblings();

private:
    static HttpWatch watchOf(const Task *task)
    {
        HttpWatch watch;
        watch.isCanceled = [task] {
            return task->isCanceled();
        };
        return watch;
    }

    Error addWhatIsInside(const DavResource &folder, SchemeMetadata::Values &values);
    Error fetchFile(const DavResource &file, const FetchPlan &plan, Task *task);
    Error fetchFolder(const DavResource &folder, const FetchPlan &plan, Task *task);
    Result<QSharedPointer<ResourceReference>> referenceBeside(const QString &name) const;

    const Reference reference;
    const HttpSettings settings;
    DavClient client;
};

Result<QSharedPointer<ResourceMetadata>> Work::metadata()
{
    Error error;
    ZEL_TRY_LET(const DavResource found, resource());
    SchemeMetadata::Values values;
    values.name = reference->fileName();
    values.path = reference->referencePath().value_or(QString());
    values.fullPath = reference->referenceFullPath().value_or(QString());
    values.type = found.isFolder ? u"folder"_s : u"file"_s;
    values.itemType
        = found.isFolder ? ResourceMetadata::ItemType::Folder : ResourceMetadata::ItemType::File;
    values.size = found.state.size;
    values.modified = found.state.modified();
    values.version = reference->referenceVersion();
    if (found.isFolder)
        ZEL_TRY(error, addWhatIsInside(found, values));
    return QSharedPointer<ResourceMetadata>(new SchemeMetadata(values));
}

Error Work::addWhatIsInside(const DavResource &folder, SchemeMetadata::Values &values)
{
    ZEL_TRY_LET(const std::optional<RemoteListing> listing,
                DavTree(&client).listSmall(folder, mostFoldersToCount));
    if (!listing)
        return {};
    values.size = listing->totalBytes();
    values.fileCount = qint64(listing->files().size());
    values.modified = listing->newest();
    return {};
}

Error Work::retrieve(const FetchPlan &plan, Task *task)
{
    ZEL_TRY_LET(const DavResource found, resource());
    return found.isFolder ? ZEL_PASS(fetchFolder(found, plan, task))
                          : ZEL_PASS(fetchFile(found, plan, task));
}

Error Work::fetchFile(const DavResource &file, const FetchPlan &plan, Task *task)
{
    HttpTarget target;
    target.url = file.url;
    target.displayName = reference->referenceText(true);
    target.expected = reference->expectedContent();
    return ZEL_PASS(HttpTasks::fetchFile(target, plan, settings, task));
}

Error Work::fetchFolder(const DavResource &folder, const FetchPlan &plan, Task *task)
{
    if (!reference->expectedContent().isEmpty()) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("A checksum is for files, but %1 is a folder.").arg(reference->referenceText(true)));
    }
    const auto lister = [this, folder](const std::function<bool()> &) {
        return ZEL_PASS(DavTree(&client).list(folder));
    };
    return ZEL_PASS(FolderRetrieval(task, plan, lister, settings).run());
}

Result<GetSiblingsTask::References> Work::siblings()
{
    GetSiblingsTask::References found;
    ZEL_TRY_LET(const HttpUrl url, HttpUrl::parse(reference->requestUrl()));
    ZEL_TRY_LET(const DavCollection own, DavCollection::at(url));
    ZEL_TRY_LET(const HttpUrl ownUrl, own.folder());
    ZEL_TRY_LET(const HttpUrl parentUrl, own.parent().folder());
    if (ownUrl.text() == parentUrl.text())
        return found;
    ZEL_TRY_LET(const std::vector<DavResource> members, client.list(own.parent()));
    for (const DavResource &member : members) {
        ZEL_TRY_LET(const auto sibling, referenceBeside(member.name));
        if (!(*sibling == *reference))
            found << sibling;
    }
    return found;
}

Result<QSharedPointer<ResourceReference>> Work::referenceBeside(const QString &name) const
{
    const QString own = reference->referenceText(false).section(u'#', 0, 0);
    const QString folder = own.left(own.lastIndexOf(u'/') + 1);
    return ZEL_PASS(DavReference::parse(
        folder + PercentEncoding::encoded(name.toUtf8(), PercentEncoding::Kept(""))));
}

class SiblingsTask : public GetSiblingsTask
{
public:
    SiblingsTask(const Reference &reference, const HttpSettings &settings)
        : GetSiblingsTask(nullptr)
        , reference(reference)
        , settings(settings)
    {
    }

private:
    Result<References> readSiblings() override
    {
        return ZEL_PASS(Work(reference, settings, this).siblings());
    }

    const Reference reference;
    const HttpSettings settings;
};

} // namespace

std::unique_ptr<Task> exists(const Reference &reference, const HttpSettings &settings)
{
    return makeWorkerTask([reference, settings](Task *task) -> Error {
        ZEL_TRY_LET(const DavProbe found, Work(reference, settings, task).probe());
        task->setResult(found.exists);
        return {};
    });
}

std::unique_ptr<Task> metadata(const Reference &reference, const HttpSettings &settings)
{
    return makeWorkerTask([reference, settings](Task *task) -> Error {
        ZEL_TRY_LET(const auto metadata, Work(reference, settings, task).metadata());
        task->setResult(metadata);
        return {};
    });
}

std::unique_ptr<Task> retrieve(const Reference &reference, const FetchPlan &plan,
                               const HttpSettings &settings)
{
    return makeWorkerTask([reference, plan, settings](Task *task) {
        return ZEL_PASS(Work(reference, settings, task).retrieve(plan, task));
    });
}

std::unique_ptr<GetSiblingsTask> siblings(const Reference &reference, const HttpSettings &settings)
{
    return std::make_unique<SiblingsTask>(reference, settings);
}

} // namespace zel::DavTasks
