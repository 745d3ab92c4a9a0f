#include "Command.h"
#include "CommandOptions.h"
#include "ResourceCache.h"
#include "ResourceLookup.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "platform/SignalWatch.h"

#include <QCoreApplication>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::PolicyCommand)
};

constexpr auto helpDetails
    = R"(Prints the cleanup policy that the cache has stored for the resource, or stores
another one: Never (the data stays when the last program closes it), OnClose (it
goes then), OnDemand (it stays unless a program wants to keep little). All of them
may be purged when the cache is full. The exit code is 3 if the cache does not know
the resource.

Examples:
  zelcache policy https://data.example.org/runs/run1.raw
  zelcache policy https://data.example.org/runs/run1.raw OnClose)";

using Resource = ResourceCacheReader::Resource;

Result<Resource> resourceAfterwards(const Context &context, const QString &key)
{
    ZEL_TRY_LET(const auto snapshot, readCacheFor({ key }, settingsOf(context.options)));
    if (const auto resource = resourceOf(snapshot, key))
        return *resource;
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     Texts::tr("The cache does not know %1 any more.").arg(key));
}

ExitCode answer(const Context &context, const Resource &resource,
                std::optional<ResourceCleanupPolicy> previous)
{
    if (!context.options.json) {
        context.output.answer(toText(resource.policy));
        return ExitCode::Success;
    }
    QJsonObject answer = context.emptyAnswer();
    answer.insert(u"reference"_s, resource.reference);
    answer.insert(u"cleanupPolicy"_s, toText(resource.policy));
    if (previous)
        answer.insert(u"previousPolicy"_s, toText(*previous));
    context.output.answer(answer);
    return ExitCode::Success;
}

ExitCode store(const Context &context, const Resource &before, ResourceCleanupPolicy policy)
{
    if (const auto code = openExistingCache(context))
        return *code;
    SignalWatch signalWatch([](int) {});
    const QString key = before.reference;
    const Error failure = ResourceManager::cache()->saveCleanupPolicy(key, policy);
    if (failure.hasError())
        return context.fail(failure);
    const auto after = resourceAfterwards(context, key);
    if (!after.hasValue())
        return context.fail(after.error());
    return exitCodeAfter(signalWatch.receivedNow(), answer(context, after.value(), before.policy));
}

class PolicyCommand : public Command
{
public:
    PolicyCommand()
        : Command("policy", "Show or set a cleanup policy", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addReference(app, reference);
        options::addOptionalArgument(app, "POLICY", "Never, OnClose or OnDemand", policyText);
    }

    std::optional<QString> check() override
    {
        return options::readPolicy(u"POLICY"_s, policyText, policy);
    }

    ExitCode run(const Context &context) override;

private:
    QString reference;
    std::optional<QString> policyText;
    std::optional<ResourceCleanupPolicy> policy; ///< the one to store
};

ExitCode PolicyCommand::run(const Context &context)
{
    registerResourceSchemes();
    const auto snapshot = readCacheFor({ reference }, settingsOf(context.options));
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    const auto key = keyOf(snapshot.value(), reference);
    if (!key.hasValue())
        return context.failOn(reference, key.error());
    const auto resource = resourceOf(snapshot.value(), key.value());
    if (!resource)
        return context.fail(ExitCode::AnswerIsNo,
                            Texts::tr("The cache does not know %1.").arg(key.value()));
    return policy ? store(context, *resource, *policy) : answer(context, *resource, std::nullopt);
}

} // namespace

std::unique_ptr<Command> makePolicyCommand()
{
    return std::make_unique<PolicyCommand>();
}

} // namespace zel::cli
