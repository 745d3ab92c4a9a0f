#include "Command.h"
#include "CommandOptions.h"
#include "ResourceLookup.h"
#include "SchemesRegistration.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "holders/CacheReasons.h"
#include "holders/ResourceReasons.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::WhyCommand)
};

constexpr auto helpDetails
    = R"(Without REF: why the cache is as large as it is, what a purge could free at this
moment, who holds the rest, and whose end would let the purge reach its target.
With REF: why the resource is still here, is not here or is waiting, as far as the
cache records it. Waits for nobody and changes nothing. The exit code is 3 for a
resource that the cache does not know.

Examples:
  zelcache why
  zelcache why https://data.example.org/runs/run1.raw
  zelcache why --json | jq '.holders[] | select(.closing) | .process')";

using Snapshot = ResourceCacheReader::Snapshot;

void answer(const Context &context, const QJsonObject &members, const QStringList &lines)
{
    if (context.options.json) {
        context.output.answer(context.answerWith(members));
        return;
    }
    for (const QString &line : lines)
        context.output.answer(line);
}

class WhyCommand : public Command
{
public:
    WhyCommand()
        : Command("why", "Tell why the cache is full, or why a resource is here or not",
                  helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addOptionalArgument(app, "REF", "The resource's reference", reference);
    }

    ExitCode run(const Context &context) override;

private:
    ExitCode tellOfResource(const Context &context, const Snapshot &snapshot,
                            const ResourceManagerSettings &settings) const;

    std::optional<QString> reference;
};

ExitCode WhyCommand::run(const Context &context)
{
    registerResourceSchemes();
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto snapshot = readCache(
        settings, reference ? ResourceCacheReader::EveryDetail : ResourceCacheReader::NoDetail);
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    if (reference)
        return tellOfResource(context, snapshot.value(), settings);
    const CacheReasons reasons
        = cacheReasons(snapshot.value(), settings.sizes, QDateTime::currentMSecsSinceEpoch(),
                       processesOf(settings.cachePath.databasePath()));
    answer(context, cacheReasonsJson(reasons), cacheReasonLines(reasons));
    return ExitCode::Success;
}

ExitCode WhyCommand::tellOfResource(const Context &context, const Snapshot &snapshot,
                                    const ResourceManagerSettings &settings) const
{
    const auto key = keyOf(snapshot, *reference);
    if (!key.hasValue())
        return context.failOn(*reference, key.error());
    const auto resource = resourceOf(snapshot, key.value());
    if (!resource)
        return context.fail(ExitCode::AnswerIsNo,
                            key.value() + u": "_s + Texts::tr("The cache does not know it."));
    const bool isThere = !resource->path.isEmpty() && QFileInfo::exists(resource->path);
    const ResourceReasons reasons = resourceReasons(snapshot, *resource, isThere, settings.sizes,
                                                    QDateTime::currentMSecsSinceEpoch(),
                                                    processesOf(settings.cachePath.databasePath()));
    answer(context, resourceReasonsJson(reasons), resourceReasonLines(reasons));
    return ExitCode::Success;
}

} // namespace

std::unique_ptr<Command> makeWhyCommand()
{
    return std::make_unique<WhyCommand>();
}

} // namespace zel::cli
