#pragma once

#include "ResourceCache.h"

#include <QString>

#include <memory>

namespace zel::bench {

/// An open cache in the directory that a contestant was given; the program ends if there is none.
std::shared_ptr<ResourceCache> openCache(const QString &directory,
                                         const ResourceCacheSizes &sizes = {});

/// The same by the process's manager, with all schemes. Never due for a count of all sizes.
ResourceCache *openManager(const QString &directory);

/// For what must not fail: ends the program with the failure.
void check(const Error &error);
template<typename T>
T check(Result<T> result)
{
    if (!result.hasValue())
        check(result.error());
    return std::move(result.value());
}

} // namespace zel::bench
