#include "cache/CacheReading.h"

#include "ResourceLookup.h"
#include "errors/Propagate.h"
#include "output/LogOutput.h"
#include "platform/AccessReason.h"
#include "platform/FreeSpace.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::CacheReading)
};

ResourceCacheReader readerOf(const ResourceManagerSettings &settings)
{
    return ResourceCacheReader(settings.cachePath.databasePath());
}

/// What was read, or the failure with the cache that it is about.
template<typename Value>
Result<Value> orWhichCache(const ResourceManagerSettings &settings, Result<Value> outcome)
{
    if (outcome.hasValue())
        return outcome;
    const QString text = Texts::tr("The cache in %1 cannot be read: %2");
    const QString baseDir = settings.cachePath.baseDirPath();
    const QString place = QFileInfo::exists(baseDir) && !QFileInfo(baseDir).isDir()
        ? whyUnwritable(baseDir)
        : whyNoFile(settings.cachePath.databasePath());
    const Error failure = withReason(outcome.error(), place);
    return ZEL_ERROR(failure.errorCode(), text.arg(baseDir, failure.errorMessage()));
}

} // namespace

Result<ResourceCacheReader::Snapshot> readCache(const ResourceManagerSettings &settings,
                                                ResourceCacheReader::Details details)
{
    return ZEL_PASS(orWhichCache(settings, readerOf(settings).read(details)));
}

Result<ResourceCacheReader::Snapshot> readCacheFor(const QStringList &arguments,
                                                   const ResourceManagerSettings &settings)
{
    QStringList keys;
    for (const QString &argument : arguments)
        keys += possibleKeysOf(argument);
    return ZEL_PASS(orWhichCache(settings, readerOf(settings).readRowsOf(keys)));
}

Result<ResourceCacheReader::Activity> readActivity(const ResourceManagerSettings &settings)
{
    return ZEL_PASS(orWhichCache(settings, readerOf(settings).readActivity()));
}

std::optional<qint64> freeBytesOf(const ResourceManagerSettings &settings)
{
    const auto free = FreeSpace::availableBytes(settings.cachePath.cacheDataDir());
    return free.hasValue() ? std::optional(free.value()) : std::nullopt;
}

} // namespace zel::cli
