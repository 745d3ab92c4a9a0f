#pragma once

#include "CacheDatabase.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "ResourceManager_p.h"
#include "ResourcePromptingInterface.h"
#include "TemporaryCache.h"
#include "support/TestHandlers.h"
#include "support/TestReference.h"

#include <gtest/gtest.h>

namespace zel::test {

/// Whether the outcome failed with this code and, unless it is empty, this very message.
testing::AssertionResult failsWith(const Error &error, ErrorCode code, const QString &message = {});
testing::AssertionResult succeeds(const Error &error);

template<typename T>
testing::AssertionResult failsWith(const Result<T> &result, ErrorCode code,
                                   const QString &message = {})
{
    return failsWith(result.hasValue() ? Error() : result.error(), code, message);
}

template<typename T>
testing::AssertionResult succeeds(const Result<T> &result)
{
    return succeeds(result.hasValue() ? Error() : result.error());
}

/// A manager beside the process's own. What is protected in its base is public here.
class TestManager : public ResourceManager
{
public:
    explicit TestManager(const std::optional<ResourceManagerSettings> &settings)
        : ResourceManager(settings)
    {
    }

    using ResourceManager::openCache;
    using ResourceManager::Private;

    Private &inside() { return *d; }
    /// The same of any manager.
    static Private &insideOf(ResourceManager &manager) { return *(manager.*(&TestManager::d)); }
};

/// Answers as it is told and remembers what it was asked.
class FakePrompting : public ResourcePromptingInterface
{
public:
    using References = QList<QSharedPointer<ResourceReference>>;

    bool confirmRetrieve(const References &references) override;
    References confirmedReferences() override;
    /// The key forms of what each question named.
    QList<QStringList> questions;
    bool answer = true;
    /// What the answer accepts; everything that was asked about if it is empty.
    std::optional<References> accepted;

private:
    References lastAsked;
};

/// The process's manager, on a base directory of the process's own. Every case is a process of its
/// own when ctest runs it, as it must be: the manager and its overrides exist once per process.
class ManagerFixture : public testing::Test
{
protected:
    ManagerFixture();

    static ResourceManagerSettings settingsFor(const QString &baseDir);

    static QString key(const QString &name) { return QStringLiteral("test:") + name; }
    static HandlerScript &script(const QString &name) { return scriptOf(key(name)); }
    QSharedPointer<RemoteTestHandler> handler(const QString &name) const;
    /// The same, in a mode of its own: it is asked about.
    QSharedPointer<RemoteTestHandler> prompted(const QString &name) const;
    /// Becomes the default interface; lives as long as the manager.
    static FakePrompting *makeDefaultPrompting();
    QSharedPointer<LocalTestHandler> nearHandler(const QString &name) const;
    /// Where the data of "test:<name>" is to lie.
    QString pathOf(const QString &name) const;
    CacheDatabase database() const { return CacheDatabase(directory.databasePath()); }

    TemporaryCache &directory; // lives until the manager has gone
};

} // namespace zel::test
