#pragma once

#include "Context.h"

#include "ResourceCache.h"
#include "ResourceCacheReader.h"
#include "ResourceHandler.h"
#include "ResourceManagerSettings.h"

namespace zel::cli {

/// The settings file's settings, or the cache that the command line names.
ResourceManagerSettings settingsOf(const Options &options);

/// Sets the library up for a command that takes part in the cache: schemes, tracing, the open
/// cache. If that does not work out, the user is told and the code to end with is returned.
std::optional<ExitCode> openCache(const Context &context);

/// Sets up what is needed to ask sources, for a command that must not take part in the cache: the
/// manager has none, so its handlers enter nothing. Call it before the manager is made.
void registerSourcesOnly(const Context &context);

/// openCache() for a command that works on what is there: it never makes a cache, and what programs
/// that died have left behind holds nothing any more.
std::optional<ExitCode> openExistingCache(const Context &context);

/// What the cache of the settings holds at this moment, without taking part in it. Fails if it
/// cannot be read or was never made. Ask for no detail that is not needed: a cache may be large.
Result<ResourceCacheReader::Snapshot> readCache(const ResourceManagerSettings &settings,
                                                ResourceCacheReader::Details details);

/// The same with every detail, but of those resources only that the arguments may mean; see
/// keyOf(). Takes no longer in a large cache. The schemes must be registered.
Result<ResourceCacheReader::Snapshot> readCacheFor(const QStringList &arguments,
                                                   const ResourceManagerSettings &settings);

/// What comes and goes in the cache, in the same way.
Result<ResourceCacheReader::Activity> readActivity(const ResourceManagerSettings &settings);

/// How much is free on the volume of the cache's data, in bytes, if that can be told.
std::optional<qint64> freeBytesOf(const ResourceManagerSettings &settings);

/// Makes handlers that ask sources and enter nothing: the cache that they are lent is never opened.
/// It must outlive them.
class SourceHandlers
{
public:
    /// Of a reference as the user wrote it.
    Result<QSharedPointer<ResourceHandler>> handlerOf(const QString &argument);

private:
    ResourceCache cache;
};

/// The handler of a reference as the user wrote it.
Result<QSharedPointer<ResourceHandler>> handlerOf(const QString &argument);

/// A resource, and where its data lies or would lie.
struct LocalPlace
{
    QSharedPointer<ResourceHandler> handler;
    QString path;
    bool isAvailable = false;

    /// As the cache has it.
    QString reference() const { return handler->reference()->referenceText(false); }
};

/// Of a reference as the user wrote it; fetches nothing.
Result<LocalPlace> localPlaceOf(const QString &argument);

} // namespace zel::cli
