#include "cache/CacheOpening.h"

#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "cache/CacheDirectoryTag.h"
#include "cache/CacheReading.h"
#include "errors/Propagate.h"
#include "errors/Tracer.h"
#include "output/LogOutput.h"
#include "platform/AccessReason.h"
#include "platform/SignalWatch.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::CacheOpening)
};

bool startTracing(const QString &filePath)
{
    if (!Tracer::initialize(filePath))
        return false;
    tracer_categories_settings::setCategoryEnabled(u"RESOURCE_RETRIEVAL", true);
    return true;
}

/// Opens the cache once more: the manager lives on without one and does not say why it could not
/// open it.
Error openingFailure(const ResourceManagerSettings &settings)
{
    return ZEL_PASS(ResourceManager::cache()->open(settings.cachePath, settings.sizes));
}

/// Why no cache can be where it is to be, in the system's words; empty if they say nothing.
QString whyNoCache(const ResourceManagerSettings &settings)
{
    const QString place = whyUnwritable(settings.cachePath.baseDirPath());
    return place.isEmpty() ? whyNoFile(settings.cachePath.databasePath()) : place;
}

/// The failure with all that can be told of it.
Error explained(const Error &failure, const ResourceManagerSettings &settings)
{
    const QString place = whyNoCache(settings);
    if (!place.isEmpty())
        return withReason(failure, place);
    // Who only reads knows what is no database.
    const auto read = ResourceCacheReader(settings.cachePath.databasePath()).readRowsOf({});
    const bool isNone = !read.hasValue() && read.error().errorCode() == ErrorCode::BadData;
    return isNone ? read.error() : failure;
}

bool hasUsagesOfTheDead(const ResourceManagerSettings &settings)
{
    const auto activity = readActivity(settings);
    return activity.hasValue() && activity.value().strayUsages > 0;
}

/// The code to end with if a signal came while the cache was opened.
std::optional<ExitCode> canceledMeanwhile(const Context &context)
{
    SignalWatch signalWatch([](int) {}); // is told what the one around it has heard
    const int signalNumber = signalWatch.receivedNow();
    return signalNumber != 0 ? std::optional(context.cancel(signalNumber)) : std::nullopt;
}

} // namespace

ResourceManagerSettings settingsOf(const Options &options)
{
    ResourceManagerSettings settings = ResourceManagerSettings::loadSettings();
    // Spelled in one way, since the spelling selects the lock.
    if (!options.cacheDir.isEmpty())
        settings.cachePath.setBaseDirPath(
            QDir::cleanPath(QFileInfo(options.cacheDir).absoluteFilePath()));
    return settings;
}

std::optional<ExitCode> openCache(const Context &context)
{
    const QString traceFile = context.options.traceFile;
    if (!traceFile.isEmpty() && !startTracing(traceFile)) {
        const QString text = Texts::tr("The trace cannot be written to %1.");
        return context.fail(context.failureCode, text.arg(traceFile));
    }
    registerResourceSchemes();
    const ResourceManagerSettings settings = settingsOf(context.options);
    ResourceManager::overrideDefaultSettings(settings);
    // A count of all sizes would hold up the end of this short program: none is ever due.
    ResourceManager::overrideDefaultFullScanInterval(std::chrono::days(365'000));
    if (ResourceManager::cache()->isOpen()) {
        tagCacheDirectory(settings.cachePath.baseDirPath());
        return canceledMeanwhile(context);
    }
    const Error failure = openingFailure(settings);
    if (!failure.hasError())
        return canceledMeanwhile(context);
    const QString text = Texts::tr("The cache in %1 cannot be opened: %2");
    const QString baseDir = settings.cachePath.baseDirPath();
    return context.fail(ExitCode::CacheUnavailable,
                        text.arg(baseDir, explained(failure, settings).errorMessage()));
}

void registerSourcesOnly(const Context &context)
{
    registerResourceSchemes();
    ResourceManagerSettings settings = settingsOf(context.options);
    // A manager whose cache cannot be made lives on, and nowhere there can be none.
    settings.cachePath.setBaseDirPath({});
    ResourceManager::overrideDefaultSettings(settings);
    const ExpectedFailures notOpened;
    static_cast<void>(ResourceManager::cachePath()); // makes the manager
}

std::optional<ExitCode> openExistingCache(const Context &context)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    if (const auto nothing = readCacheFor({}, settings); !nothing.hasValue())
        return context.fail(ExitCode::CacheUnavailable, nothing.error().errorMessage());
    if (const auto code = openCache(context))
        return code;
    if (!hasUsagesOfTheDead(settings))
        return {};
    // The first opening took the dead out of the list of programs, a second one takes what they
    // used out with them.
    ResourceManager::cache()->close();
    const Error failure = openingFailure(settings);
    return failure.hasError()
        ? std::optional(context.fail(ExitCode::CacheUnavailable, failure.errorMessage()))
        : canceledMeanwhile(context);
}

} // namespace zel::cli
