#pragma once

#include "ResourceRetrieveHandle.h"
#include "support/CacheFixture.h"

namespace zel::test {

/// An open cache with one missing resource, and handles that are to retrieve it.
class RetrieveHandleFixture : public CacheFixture
{
protected:
    void SetUp() override
    {
        openCache();
        ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
    }
    std::unique_ptr<ResourceRetrieveHandle> handleOf(ResourceCache &owner)
    {
        return std::make_unique<ResourceRetrieveHandle>(
            reference, dataPath(QStringLiteral("s/a/f")), &owner, QVersionNumber(2, 1));
    }
    int taskRows() const { return database().count(QStringLiteral("AcquiringTasks")); }
    QString status() const { return database().status(reference); }

    const QString reference = QStringLiteral("test:a");
};

} // namespace zel::test
