#include "http/HttpTasks.h"

#include "SchemeMetadata.h"
#include "WorkerTask.h"
#include "errors/Propagate.h"
#include "http/HttpStagingSink.h"
#include "staging/StagingCleaner.h"

namespace zel::HttpTasks {

using namespace Qt::Literals::StringLiterals;

namespace {

using Reference = QSharedPointer<UrlReference>;

Result<HttpTarget> targetOf(const Reference &reference)
{
    HttpTarget target;
    ZEL_TRY_LET(target.url, HttpUrl::parse(reference->requestUrl()));
    target.displayName = reference->referenceText(true);
    target.expected = reference->expectedContent();
    return target;
}

HttpWatch watchOf(Task *task)
{
    HttpWatch watch;
    watch.isCanceled = [task] {
        return task->isCanceled();
    };
    return watch;
}

Result<HttpProbe> probe(const Reference &reference, const HttpSettings &settings, Task *task)
{
    ZEL_TRY_LET(const HttpTarget target, targetOf(reference));
    return ZEL_PASS(HttpClient(settings).probe(target, watchOf(task)));
}

QSharedPointer<ResourceMetadata> metadataOf(const UrlReference &reference,
                                            const HttpRepresentation &state)
{
    // Without parameters such as a character set.
    const QByteArray type = state.contentType.split(';').constFirst().trimmed().toLower();
    SchemeMetadata::Values values;
    values.name = reference.fileName();
    values.path = reference.referencePath().value_or(QString());
    values.fullPath = reference.referenceFullPath().value_or(QString());
    values.type = type.isEmpty() ? u"file"_s : QString::fromLatin1(type);
    values.itemType = ResourceMetadata::ItemType::File;
    values.size = state.size;
    values.modified = state.modified();
    values.version = reference.referenceVersion();
    return QSharedPointer<SchemeMetadata>::create(values);
}

Error fetch(const Reference &reference, const FetchPlan &plan, const HttpSettings &settings,
            Task *task)
{
    ZEL_TRY_LET(const HttpTarget target, targetOf(reference));
    return ZEL_PASS(fetchFile(target, plan, settings, task));
}

} // namespace

std::unique_ptr<Task> exists(const Reference &reference, const HttpSettings &settings)
{
    return makeWorkerTask([reference, settings](Task *task) -> Error {
        ZEL_TRY_LET(const HttpProbe found, probe(reference, settings, task));
        task->setResult(found.exists);
        return {};
    });
}

std::unique_ptr<Task> metadata(const Reference &reference, const HttpSettings &settings)
{
    return makeWorkerTask([reference, settings](Task *task) -> Error {
        ZEL_TRY_LET(const HttpProbe found, probe(reference, settings, task));
        if (!found.exists)
            return ZEL_PASS(found.refusal);
        task->setResult(metadataOf(*reference, found.state));
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

Error fetchFile(const HttpTarget &target, const FetchPlan &plan, const HttpSettings &settings,
                Task *task)
{
    StagingCleaner::removeStaleBeforeFetch(plan);
    HttpStagingSink sink(plan, task);
    Error error = HttpClient(settings).download(target, &sink, watchOf(task));
    if (!error.hasError())
        error = sink.publish();
    if (error.hasError())
        sink.giveUp(error);
    return ZEL_PASS(error);
}

} // namespace zel::HttpTasks
