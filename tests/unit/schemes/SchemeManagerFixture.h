#pragma once

#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

namespace zel::test {

/// The process's manager with the schemes of the library. ctest runs each case in a process of its
/// own, as it must be: there is one manager in a process.
class SchemeManagerFixture : public ::testing::Test
{
protected:
    SchemeManagerFixture()
        : cache(processCache())
    {
        ResourceManagerSettings settings;
        settings.cachePath.setBaseDirPath(cache.baseDir());
        ResourceManager::overrideDefaultSettings(settings);
        registerResourceSchemes();
    }

    static QSharedPointer<ResourceReference> reference(const QString &text)
    {
        const auto parsed = ResourceReference::fromString(text);
        EXPECT_TRUE(parsed.hasValue()) << parsed.error().description().toStdString();
        return parsed.hasValue() ? parsed.value() : nullptr;
    }
    static QSharedPointer<ResourceHandler> handler(const QString &text)
    {
        const auto found = ResourceManager::getHandler(reference(text));
        EXPECT_TRUE(found.hasValue()) << found.error().description().toStdString();
        return found.hasValue() ? found.value() : nullptr;
    }
    /// Fetches, which has to work; where the resource lies then.
    static QString retrieve(const QString &text)
    {
        const auto fetched = handler(text);
        const Error error = fetched->retrieve();
        EXPECT_FALSE(error.hasError()) << error.description().toStdString();
        EXPECT_TRUE(fetched->isAvailableLocally());
        return fetched->expectedPath().value();
    }

    TemporaryCache &cache;

private:
    // Made before the manager, so that it goes after it.
    static TemporaryCache &processCache()
    {
        static TemporaryCache directory;
        return directory;
    }
};

} // namespace zel::test
