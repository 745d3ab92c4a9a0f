#include "list/ListTasks.h"

#include "SchemeMetadata.h"
#include "WorkerTask.h"
#include "errors/Propagate.h"
#include "folder/FolderRetrieval.h"
#include "folder/RemoteSizes.h"
#include "list/ListSource.h"

namespace zel::ListTasks {

using namespace Qt::Literals::StringLiterals;

namespace {

using Reference = QSharedPointer<ListReference>;
using IsCanceled = std::function<bool()>;

/// A person may be waiting: with more files than this their sizes are not asked one by one.
constexpr size_t mostSizesAsked = 200;

IsCanceled canceledWith(Task *task)
{
    return [task] {
        return task->isCanceled();
    };
}

/// Empty if it is not known.
Result<std::optional<qint64>> totalBytes(const RemoteListing &listing, const QString &name,
                                         const HttpSettings &settings, const IsCanceled &isCanceled)
{
    if (listing.totalBytes() || listing.files().size() > mostSizesAsked)
        return listing.totalBytes();
    ZEL_TRY_LET(const auto sizes, RemoteSizes::of(listing, name, settings, isCanceled));
    if (sizes.size() < listing.files().size())
        return std::optional<qint64>();
    qint64 total = 0;
    for (const auto &[path, size] : sizes)
        total += size;
    return std::optional(total);
}

Result<QSharedPointer<ResourceMetadata>> metadataOf(const Reference &reference,
                                                    const HttpSettings &settings,
                                                    const IsCanceled &isCanceled)
{
    ZEL_TRY_LET(const RemoteListing listing, ListSource(reference, settings).list(isCanceled));
    SchemeMetadata::Values values;
    values.name = reference->folderName();
    values.path = reference->referencePath().value_or(QString());
    values.fullPath = reference->referenceText(true);
    values.type = u"folder"_s;
    values.itemType = ResourceMetadata::ItemType::Folder;
    ZEL_TRY_LET(values.size, totalBytes(listing, values.fullPath, settings, isCanceled));
    values.fileCount = qint64(listing.files().size());
    values.modified = listing.newest();
    values.version = reference->referenceVersion();
    return QSharedPointer<ResourceMetadata>(new SchemeMetadata(values));
}

Error fetch(const Reference &reference, const FetchPlan &plan, const HttpSettings &settings,
            Task *task)
{
    ListSource source(reference, settings);
    const auto lister = [&source](const IsCanceled &isCanceled) {
        return ZEL_PASS(source.list(isCanceled));
    };
    return ZEL_PASS(FolderRetrieval(task, plan, lister, settings).run());
}

} // namespace

std::unique_ptr<Task> exists(const Reference &reference, const HttpSettings &settings)
{
    return makeWorkerTask([reference, settings](Task *task) -> Error {
        ZEL_TRY_LET(const HttpProbe found,
                    ListSource(reference, settings).probe(canceledWith(task)));
        task->setResult(found.exists);
        return {};
    });
}

std::unique_ptr<Task> metadata(const Reference &reference, const HttpSettings &settings)
{
    return makeWorkerTask([reference, settings](Task *task) -> Error {
        ZEL_TRY_LET(const auto found, metadataOf(reference, settings, canceledWith(task)));
        task->setResult(found);
        return {};
    });
}

std::unique_ptr<Task> retrieve(const Reference &reference, const FetchPlan &plan,
                               const HttpSettings &settings)
{
    return makeWorkerTask([reference, plan, settings](Task *task) {
        return ZEL_PASS(fetch(reference, plan, settings, task));
    });
}

} // namespace zel::ListTasks
