#include "Command.h"
#include "CommandOptions.h"
#include "ResourceLookup.h"
#include "SchemesRegistration.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "errors/Propagate.h"
#include "holders/ResourceUsers.h"
#include "output/Text.h"
#include "verify/VerifyReport.h"
#include "verify/VerifyRun.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSet>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::VerifyCommand)
};

constexpr auto helpDetails
    = R"(Compares cached data with what was written down when it was fetched: first names and
sizes, then every byte. Without a reference it verifies all that is ready. It tells what
is changed, cut off or incomplete, who uses it now, and since when it is here.

With a budget it ends in time, and the next run with one goes on where this one ended,
with what was not verified for the longest time. It changes no data; what it finds out
is noted beside them.

The exit code is 6 if any data is not what was fetched.

Examples:
  zelcache verify
  zelcache verify --budget 10m
  zelcache verify --json share:/mnt/lab/run1.d)";

using Snapshot = ResourceCacheReader::Snapshot;
using Resource = ResourceCacheReader::Resource;
using ResourcesByKey = QHash<QString, Resource>;

ResourcesByKey byKey(const Snapshot &snapshot)
{
    ResourcesByKey resources;
    resources.reserve(snapshot.resources.size());
    for (const Resource &resource : snapshot.resources)
        resources.insert(resource.reference, resource);
    return resources;
}

VerifyResult resultFor(const Resource &resource)
{
    VerifyResult result;
    result.reference = resource.reference;
    result.path = resource.path;
    return result;
}

void setNotHere(VerifyResult &result, const QString &why)
{
    result.isNotHere = true;
    result.failure = Error(int(ExitCode::AnswerIsNo), why);
}

VerifyReport allReady(const Snapshot &snapshot)
{
    VerifyReport report;
    for (const Resource &resource : snapshot.resources) {
        if (resource.status == ResourceStatus::Ready)
            report.results.append(resultFor(resource));
    }
    return report;
}

VerifyResult resultFor(const QString &argument, const Snapshot &snapshot,
                       const ResourcesByKey &resources)
{
    VerifyResult result;
    result.reference = withoutSecrets(argument);
    const auto key = keyOf(snapshot, argument);
    if (!key.hasValue()) {
        result.failure = key.error();
        return result;
    }
    result.reference = key.value();
    const auto resource = resources.constFind(key.value());
    if (resource != resources.cend() && resource->status == ResourceStatus::Ready)
        return resultFor(*resource);
    setNotHere(result, Texts::tr("It is not in the cache."));
    return result;
}

/// Each resource once, in the order of the arguments.
VerifyReport theseOnly(const QStringList &arguments, const Snapshot &snapshot)
{
    const ResourcesByKey resources = byKey(snapshot);
    VerifyReport report;
    QSet<QString> seen;
    for (const QString &argument : arguments) {
        const VerifyResult result = resultFor(argument, snapshot, resources);
        if (seen.contains(result.reference))
            continue;
        seen.insert(result.reference);
        report.results.append(result);
    }
    return report;
}

/// Whether the database may be one that was lost and may come back: then nothing has left.
bool hasNoTables(const ResourceManagerSettings &settings, const Snapshot &snapshot)
{
    if (!snapshot.resources.isEmpty())
        return false;
    const auto condition = ResourceCacheReader(settings.cachePath.databasePath()).readCondition();
    return !condition.hasValue() || condition.value().metadataRows == 0;
}

/// Removes manifests of what has left the cache. `paths` were listed before the snapshot was taken,
/// at that time: what was written since belongs to a fetch that the snapshot may know nothing of.
int removeStale(const ManifestStore &store, const QStringList &paths, const QDateTime &listed,
                const Snapshot &snapshot)
{
    if (paths.isEmpty())
        return 0; // the places of manifests are not told by their resources for nothing
    QSet<QString> ofSomething;
    for (const Resource &resource : snapshot.resources) {
        if (resource.status != ResourceStatus::Missing)
            ofSomething.insert(store.pathFor(resource.reference));
    }
    int removed = 0;
    for (const QString &path : paths) {
        // A newer program may have written what is no manifest for this one.
        if (ofSomething.contains(path) || !store.readPath(path).hasValue())
            continue;
        const auto isRemoved = ZEL_PASS(store.removeIfOlder(path, listed));
        removed += isRemoved.hasValue() && isRemoved.value() ? 1 : 0; // of no harm where it stays
    }
    return removed;
}

bool isSuspect(const VerifyResult &result)
{
    return !result.failure.hasError() && result.verdict >= Verdict::BadManifest;
}

/// Whether the result still is one of what lies in the cache now.
bool isStillHere(const VerifyResult &result, const ResourcesByKey &resources,
                 const ManifestStore &store)
{
    const auto resource = resources.constFind(result.reference);
    if (resource == resources.cend() || resource->status != ResourceStatus::Ready
        || resource->path != result.path)
        return false;
    if (!result.fetched)
        return true;
    const auto manifest = store.read(result.reference);
    return manifest.hasValue() && manifest.value() && manifest.value()->fetched == result.fetched;
}

/// Of what lies in the cache by now. Nobody is told of the times and the users of data that is as
/// it should be, other than a program that asks for all of it.
Result<Snapshot> readAgain(const ResourceManagerSettings &settings, const VerifyReport &report,
                           bool tellsAll)
{
    const bool needsRows
        = tellsAll || std::any_of(report.results.begin(), report.results.end(), isSuspect);
    return ZEL_PASS(needsRows ? readCache(settings, ResourceCacheReader::Path)
                              : readCacheFor({}, settings));
}

/// What was removed or fetched anew while it was verified is not damaged.
void complete(VerifyReport &report, const Snapshot &after, const ManifestStore &store,
              const ProcessLookup &look)
{
    const ResourcesByKey resources = byKey(after);
    const ResourceUsers users = usersByReference(after, QDateTime::currentMSecsSinceEpoch(), look);
    for (VerifyResult &result : report.results) {
        if (result.failure.hasError())
            continue;
        if (isSuspect(result) && !isStillHere(result, resources, store))
            setNotHere(result, Texts::tr("It has left the cache meanwhile."));
        if (const auto row = resources.constFind(result.reference); row != resources.cend())
            result.lastAccess = row->lastAccess;
        result.holders = users.value(result.reference);
    }
}

class VerifyCommand : public Command
{
public:
    VerifyCommand()
        : Command("verify", "Tell whether cached data is what was fetched", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addReferences(app, references, false);
        options::addValue(app, "--budget", "TIME", "Take no longer than this, as in 30s, 10m or 1h",
                          budgetText);
    }

    std::optional<QString> check() override
    {
        return options::readDuration(u"--budget"_s, budgetText, budget);
    }

    ExitCode run(const Context &context) override;

private:
    ExitCode answer(const Context &context, VerifyReport &report, int signalNumber) const;

    QStringList references;
    std::optional<QString> budgetText;
    std::optional<std::chrono::milliseconds> budget;
};

ExitCode VerifyCommand::run(const Context &context)
{
    registerResourceSchemes();
    const ResourceManagerSettings settings = settingsOf(context.options);
    const ManifestStore store = ManifestStore::forCache(settings.cachePath.cacheDataDir());
    VerifyRun verification(context, store, budget);
    store.removeRemains();
    const QDateTime listed = QDateTime::currentDateTimeUtc();
    const QStringList manifests = store.paths();
    const auto before = readCache(settings, ResourceCacheReader::Path);
    if (!before.hasValue())
        return context.fail(ExitCode::CacheUnavailable, before.error().errorMessage());

    VerifyReport report
        = references.isEmpty() ? allReady(before.value()) : theseOnly(references, before.value());
    if (!hasNoTables(settings, before.value()))
        report.staleManifests = removeStale(store, manifests, listed, before.value());
    verification.verify(report);

    const auto after = readAgain(settings, report, context.options.json);
    if (!after.hasValue())
        return context.fail(ExitCode::CacheUnavailable, after.error().errorMessage());
    complete(report, after.value(), store, processesOf(settings.cachePath.databasePath()));
    return answer(context, report, verification.receivedSignal());
}

ExitCode VerifyCommand::answer(const Context &context, VerifyReport &report, int signalNumber) const
{
    // Nobody asked for what has left while all was verified.
    if (references.isEmpty())
        report.results.removeIf([](const VerifyResult &result) { return result.isNotHere; });
    for (const VerifyResult &result : report.results) {
        if (result.failure.hasError())
            context.output.error(result.reference + u": "_s + result.failure.errorMessage());
    }
    if (context.options.json) {
        context.output.answer(context.answerWith(verifyJson(report)));
    } else {
        const bool tellsAll = !references.isEmpty() || context.options.verbosity > 0;
        const QStringList lines = verifyLines(report, tellsAll);
        context.output.answerLines(lines.size(), [&lines](qsizetype i) { return lines.at(i); });
    }
    return signalNumber != 0 ? exitCodeOfSignal(signalNumber) : verifyCode(report);
}

} // namespace

std::unique_ptr<Command> makeVerifyCommand()
{
    return std::make_unique<VerifyCommand>();
}

} // namespace zel::cli
