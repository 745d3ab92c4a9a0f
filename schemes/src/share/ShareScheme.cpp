#include "share/ShareScheme.h"

#include "LocalTasks.h"
#include "SchemeDefinition.h"
#include "WorkerTask.h"
#include "references/PathReference.h"
#include "share/ShareRetrieval.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

std::unique_ptr<Task> retrieveTask(const QSharedPointer<PathReference> &source,
                                   const FetchPlan &plan)
{
    return makeWorkerTask([source, plan](Task *task) {
        return ZEL_PASS(
            ShareRetrieval(task, plan, source->path(), source->expectedContent()).run());
    });
}

} // namespace

Error registerShareScheme()
{
    ResourceReference::SchemeDescription share;
    share.scheme = ResourceReference::Share;
    share.prefixes = { u"share"_s };
    share.friendlyName = u"share"_s;
    share.version = QVersionNumber(1, 0);
    share.parser = [](const QString &text) {
        return PathReference::parse(ResourceReference::Share, text);
    };

    const auto describe = [](const QSharedPointer<PathReference> &source) {
        CopiedResource resource;
        resource.name = source->fileName();
        resource.exists = [=] {
            return LocalTasks::exists(source->path());
        };
        resource.metadata = [=] {
            return LocalTasks::metadata(source->path());
        };
        resource.retrieve = [=](const FetchPlan &plan) {
            return retrieveTask(source, plan);
        };
        return resource;
    };
    return ZEL_PASS(
        SchemeDefinition::add(share, SchemeDefinition::copies<PathReference>(describe)));
}

} // namespace zel
