#include "plan/PlanRequests.h"

#include "Library.h"
#include "ResourceCache.h"
#include "ResourceLookup.h"
#include "ResourceManager.h"
#include "SchemeMetadata.h"
#include "SchemesRegistration.h"
#include "TaskWait.h"
#include "errors/Propagate.h"
#include "plan/FitPlan.h"
#include "platform/FreeSpace.h"

#include <QDateTime>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Snapshot = ResourceCacheReader::Snapshot;
using Missing = FitPlan::Missing;

/// What is to be planned for.
struct Wanted
{
    QStringList keys;
    QList<Missing> missing;
    int signalNumber = 0;
};

Result<qint64> askForSize(const QSharedPointer<ResourceHandler> &handler, int &signalNumber)
{
    TaskWait wait;
    ZEL_TRY_LET(const auto task,
                ResourceManager::retrieveMetadataAsync(handler, ResourceHandler::Queued));
    wait.add(task.get());
    signalNumber = wait.run([] {});
    ZEL_TRY_LET(const auto metadata, task->result<QSharedPointer<ResourceMetadata>>());
    const auto known = metadata.dynamicCast<SchemeMetadata>();
    if (!known || !known->size())
        return ZEL_ERROR(ErrorCode::OperationFailed, u"Its source tells no size."_s);
    return *known->size();
}

Missing missingOf(const QSharedPointer<ResourceHandler> &handler, int &signalNumber)
{
    Missing missing { handler->reference()->referenceText(false), {}, {} };
    const auto size = askForSize(handler, signalNumber);
    if (size.hasValue())
        missing.size = size.value();
    else
        missing.reason = size.error().errorMessage();
    return missing;
}

Result<Wanted> wantedOf(const Snapshot &snapshot, const QStringList &arguments)
{
    Wanted wanted;
    for (const QString &argument : arguments) {
        ZEL_TRY_LET(const QString key, keyOf(snapshot, argument));
        if (wanted.keys.contains(key))
            continue;
        wanted.keys.append(key);
        const auto resource = resourceOf(snapshot, key);
        if (resource && resource->status == ResourceStatus::Ready)
            continue;
        ZEL_TRY_LET(const auto handler, handlerOf(argument));
        // What is used where it lies takes no room.
        if (handler->reference()->scheme() == ResourceReference::File)
            continue;
        wanted.missing.append(missingOf(handler, wanted.signalNumber));
        if (wanted.signalNumber != 0)
            break;
    }
    return wanted;
}

ExitCode answer(const Context &context, const FitPlan &plan)
{
    for (const Missing &each : plan.missing) {
        if (!each.size)
            context.output.warning(each.reference + u": "_s + each.reason);
    }
    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        const QJsonObject members = fitPlanJson(plan);
        for (auto member = members.begin(); member != members.end(); ++member)
            answer.insert(member.key(), member.value());
        context.output.answer(answer);
    } else {
        for (const QString &line : fitPlanLines(plan))
            context.output.answer(line);
    }
    return plan.fits() ? ExitCode::Success : ExitCode::NoSpace;
}

} // namespace

ExitCode planRequests(const Context &context, const QStringList &arguments)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto snapshot = readCache(settings);
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    if (const auto code = openCache(context))
        return *code;
    // With an open cache each handler would enter its resource, and make room for it.
    ResourceManager::cache()->close();
    const auto wanted = wantedOf(snapshot.value(), arguments);
    if (!wanted.hasValue())
        return context.fail(wanted.error());
    if (wanted.value().signalNumber != 0)
        return exitCodeOfSignal(wanted.value().signalNumber);
    const auto free = FreeSpace::availableBytes(settings.cachePath.cacheDataDir());
    return answer(context,
                  fitPlan(snapshot.value(), settings.sizes, wanted.value().missing,
                          wanted.value().keys,
                          free.hasValue() ? std::optional(free.value()) : std::nullopt,
                          QDateTime::currentMSecsSinceEpoch()));
}

} // namespace zel::cli
