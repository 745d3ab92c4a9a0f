#include "commands/Commands.h"

#include "Library.h"
#include "ResourceCache.h"
#include "ResourceLookup.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Resource = ResourceCacheReader::Resource;

Result<Resource> resourceAfterwards(const Context &context, const QString &key)
{
    ZEL_TRY_LET(const auto snapshot, readCache(settingsOf(context.options)));
    if (const auto resource = resourceOf(snapshot, key))
        return *resource;
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     u"The cache does not know %1 any more."_s.arg(key));
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

ExitCode store(const Context &context, const Resource &before)
{
    if (const auto code = openExistingCache(context))
        return *code;
    const QString key = before.reference;
    const Error failure = ResourceManager::cache()->saveCleanupPolicy(key, *context.options.policy);
    if (failure.hasError())
        return context.fail(failure);
    const auto after = resourceAfterwards(context, key);
    return after.hasValue() ? answer(context, after.value(), before.policy)
                            : context.fail(after.error());
}

} // namespace

ExitCode runPolicy(const Context &context)
{
    registerResourceSchemes();
    const auto snapshot = readCache(settingsOf(context.options));
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    const auto key = keyOf(snapshot.value(), context.options.references.constFirst());
    if (!key.hasValue())
        return context.fail(key.error());
    const auto resource = resourceOf(snapshot.value(), key.value());
    if (!resource)
        return context.fail(ExitCode::AnswerIsNo,
                            u"The cache does not know %1."_s.arg(key.value()));
    return context.options.policy ? store(context, *resource)
                                  : answer(context, *resource, std::nullopt);
}

} // namespace zel::cli
