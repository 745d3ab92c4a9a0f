#include "Command.h"
#include "CommandOptions.h"
#include "ResourceCache.h"
#include "ResourceLookup.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "output/Format.h"
#include "output/Text.h"
#include "platform/SignalWatch.h"
#include "removal/RemovalVerdict.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QHash>
#include <QJsonArray>

#include <algorithm>
#include <limits>
#include <vector>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::RemoveCommand)
};

constexpr auto helpDetails
    = R"(Removes the data of resources that nobody uses. One that is not there, is in use
or has the policy Never is left alone; the others still go. So is one whose removal
would take more than its own data. The exit code is 3 then, and standard error
says why and who uses it.

Examples:
  zelcache remove https://data.example.org/runs/run1.raw
  zelcache remove --dry-run share:/mnt/lab/run1.d share:/mnt/lab/run2.d
  zelcache remove --force share:/mnt/lab/run1.d)";

using Snapshot = ResourceCacheReader::Snapshot;

ResourceUsers usersNow(const Snapshot &snapshot, const ProcessLookup &look)
{
    return usersByReference(snapshot, QDateTime::currentMSecsSinceEpoch(), look);
}

/// What became of one resource.
struct Outcome
{
    ExitCode code = ExitCode::Success;
    QString reason; ///< why it was not removed
    UserProcesses processes; ///< who is the reason
};

/// One argument; several may mean the same resource.
struct Request
{
    QString reference; ///< as it is shown and answered
    qint64 size = 0;
    ResourceCleanupPolicy policy = ResourceCleanupPolicy::Invalid;
    ResourceStatus status = ResourceStatus::Invalid;
    bool hasPath = false;
    Outcome outcome;

    bool isAccepted() const { return outcome.code == ExitCode::Success; }
};

/// What the requests are judged by.
struct Grounds
{
    Snapshot snapshot;
    ResourceUsers users;
    DataPlaces places;
    ProcessLookup look;
    bool force = false;
};

void take(const ResourceCacheReader::Resource &resource, Request &request)
{
    request.size = resource.size;
    request.policy = resource.policy;
    request.status = resource.status;
    request.hasPath = resource.hasPath;
}

Request judged(const Grounds &grounds, const QString &argument)
{
    Request request;
    const auto key = keyOf(grounds.snapshot, argument);
    if (!key.hasValue()) {
        request.reference = withoutSecrets(argument);
        request.outcome = { exitCodeOf(key.error()), key.error().errorMessage(), {} };
        return request;
    }
    request.reference = key.value();
    const auto refusal = refusalOf(grounds.snapshot, grounds.users, grounds.places, key.value(),
                                   grounds.force, grounds.look);
    if (refusal)
        request.outcome = { ExitCode::AnswerIsNo, refusal->reason, refusal->processes };
    else
        take(*resourceOf(grounds.snapshot, key.value()), request);
    return request;
}

/// From now on what this process uses goes with the end of its use.
Error releaseEagerly()
{
    ResourceCache *cache = ResourceManager::cache();
    cache->setCleanupPolicyRestriction(ResourceCleanupPolicy::OnClose);
    // Using a resource whose data is gone would make room for it, at the cost of others.
    return ZEL_PASS(
        cache->setSizes({ std::numeric_limits<qint64>::max(), cache->sizes().maximumSize }));
}

Error useAndRelease(const QString &key)
{
    ZEL_TRY_LET(const auto use, ResourceManager::cache()->useResource(key));
    return Error();
}

/// No restriction reaches the policy Never, so another one is stored for the length of the removal.
Error releaseWhatIsNeverToGo(const Request &request)
{
    ResourceCache *cache = ResourceManager::cache();
    Error error;
    ZEL_TRY(error, cache->saveCleanupPolicy(request.reference, ResourceCleanupPolicy::OnDemand));
    const Error outcome = ZEL_PASS(useAndRelease(request.reference));
    ZEL_TRY(error, cache->saveCleanupPolicy(request.reference, request.policy));
    return outcome;
}

/// The end of a use takes what is Ready only. What has no path has nothing to be taken.
Error settleUnknownStatus(const Request &request)
{
    const ResourceStatus status = request.hasPath ? ResourceStatus::Ready : ResourceStatus::Missing;
    return ZEL_PASS(ResourceManager::cache()->saveStatus(request.reference, status));
}

Error removeData(const Request &request)
{
    Error error;
    if (request.status == ResourceStatus::Invalid)
        ZEL_TRY(error, settleUnknownStatus(request));
    return request.policy == ResourceCleanupPolicy::Never
        ? ZEL_PASS(releaseWhatIsNeverToGo(request))
        : ZEL_PASS(useAndRelease(request.reference));
}

/// A release has nobody to report to: what it did is seen in the cache.
Outcome seenAfterwards(const Context &context, const QString &key)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto after = readCacheFor({ key }, settings);
    if (!after.hasValue())
        return { ExitCode::CacheUnavailable, after.error().errorMessage(), {} };
    const auto resource = resourceOf(after.value(), key);
    if (!resource || resource->status != ResourceStatus::Ready)
        return {};
    const ProcessLookup look = processesOf(settings.cachePath.databasePath());
    const UserProcesses processes = usersNow(after.value(), look).value(key);
    if (processes.isEmpty())
        return { ExitCode::Failed, Texts::tr("Its data could not be removed."), {} };
    const QString text = Texts::tr("Meanwhile it has come into use by %1.");
    return { ExitCode::AnswerIsNo, text.arg(processesText(processes)), processes };
}

Outcome removed(const Context &context, const Request &request)
{
    const Error failure = removeData(request);
    if (failure.hasError())
        return { exitCodeOf(failure), failure.errorMessage(), {} };
    return seenAfterwards(context, request.reference);
}

void tell(const Context &context, const Request &request)
{
    if (!request.isAccepted())
        context.output.error(request.reference + u": "_s + request.outcome.reason);
    else if (!context.options.json)
        context.output.answer(sizeText(request.size) + u"  "_s + request.reference);
}

QJsonObject entryOf(const Request &request)
{
    QJsonObject entry { { u"reference"_s, request.reference },
                        { u"removed"_s, request.isAccepted() } };
    if (request.isAccepted()) {
        entry.insert(u"size"_s, request.size);
        return entry;
    }
    entry.insert(u"error"_s, json::error(Error(int(request.outcome.code), request.outcome.reason)));
    entry.insert(u"processes"_s, processesJson(request.outcome.processes));
    return entry;
}

/// Removes what was accepted, each resource once, and tells of every request in turn. Gives the
/// number of a signal that came, else 0; the resources behind it stay.
int removeAccepted(const Context &context, std::vector<Request> &requests)
{
    const SignalWatch signalWatch([](int) {});
    QHash<QString, Outcome> outcomes;
    for (Request &request : requests) {
        QCoreApplication::processEvents();
        if (request.isAccepted() && !outcomes.contains(request.reference)) {
            const bool goesOn = signalWatch.received() == 0;
            outcomes[request.reference] = goesOn
                ? removed(context, request)
                : Outcome { ExitCode::Canceled,
                            Texts::tr("Interrupted before it was removed."),
                            {} };
        }
        if (request.isAccepted())
            request.outcome = outcomes.value(request.reference);
        tell(context, request);
    }
    QCoreApplication::processEvents();
    return signalWatch.received();
}

ExitCode codeOf(const std::vector<Request> &requests)
{
    ExitCode worst = ExitCode::Success;
    for (const Request &request : requests) {
        const ExitCode code = request.outcome.code;
        const bool isFailure = code != ExitCode::Success && code != ExitCode::AnswerIsNo;
        const bool wasFailure = worst != ExitCode::Success && worst != ExitCode::AnswerIsNo;
        if (isFailure)
            worst = wasFailure && worst != code ? ExitCode::Failed : code;
        else if (!wasFailure && code == ExitCode::AnswerIsNo)
            worst = code;
    }
    return worst;
}

ExitCode answer(const Context &context, const std::vector<Request> &requests, bool dryRun,
                int signalNumber)
{
    if (context.options.json) {
        QJsonArray results;
        for (const Request &request : requests)
            results.append(entryOf(request));
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"dryRun"_s, dryRun);
        answer.insert(u"results"_s, results);
        context.output.answer(answer);
    }
    return signalNumber != 0 ? exitCodeOfSignal(signalNumber) : codeOf(requests);
}

bool isAnyAccepted(const std::vector<Request> &requests)
{
    return std::any_of(requests.begin(), requests.end(),
                       [](const Request &request) { return request.isAccepted(); });
}

class RemoveCommand : public Command
{
public:
    RemoveCommand()
        : Command("remove", "Remove resources from the cache", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addReferences(app, references, true);
        options::addDryRun(app, dryRun);
        options::addSwitch(app, "--force",
                           "Remove what has the policy Never or an unknown status, too", force);
    }

    ExitCode run(const Context &context) override;

private:
    QStringList references;
    bool dryRun = false;
    bool force = false; ///< what is never to go and what nobody knows the status of, too
};

ExitCode RemoveCommand::run(const Context &context)
{
    registerResourceSchemes();
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto snapshot = readCacheFor(references, settings);
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    const ProcessLookup look = processesOf(settings.cachePath.databasePath());
    const Grounds grounds { snapshot.value(), usersNow(snapshot.value(), look),
                            DataPlaces(settings.cachePath.cacheDataDir()), look, force };
    std::vector<Request> requests;
    for (const QString &argument : references)
        requests.push_back(judged(grounds, argument));

    if (dryRun || !isAnyAccepted(requests)) {
        for (const Request &request : requests)
            tell(context, request);
        return answer(context, requests, dryRun, 0);
    }
    if (const auto code = openExistingCache(context))
        return *code;
    const Error failure = releaseEagerly();
    if (failure.hasError())
        return context.fail(failure);
    const int signalNumber = removeAccepted(context, requests);
    return answer(context, requests, dryRun, signalNumber);
}

} // namespace

std::unique_ptr<Command> makeRemoveCommand()
{
    return std::make_unique<RemoveCommand>();
}

} // namespace zel::cli
