#pragma once

#include "SemaphoreLocker.h"
#include "SemaphoreRegistry.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QSystemSemaphore>

#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace zel::test {

/// A directory with a semaphore that is known as a cache's.
class SemaphoreLockerFixture : public testing::Test
{
protected:
    SemaphoreLockerFixture()
        : key(TemporaryCache::semaphoreKey(directory.baseDir()))
    {
        SemaphoreRegistry::keepForDirectory(key, directory.baseDir());
        semaphore = std::make_unique<QSystemSemaphore>(key, 1, QSystemSemaphore::Open);
    }

    /// Whether somebody else gets the lock, while the caller may hold it.
    bool isFree() { return isTakenWithin(std::chrono::seconds(40)); }
    /// Whether somebody else waits for it; he has it as soon as it is free.
    bool isHeld() { return !isTakenWithin(std::chrono::milliseconds(300)); }
    void joinWaiters()
    {
        for (std::thread &waiter : waiters)
            waiter.join();
        waiters.clear();
    }
    void TearDown() override { joinWaiters(); }

    TemporaryCache directory;
    QString key;
    std::unique_ptr<QSystemSemaphore> semaphore;
    std::vector<std::thread> waiters;

private:
    bool isTakenWithin(std::chrono::milliseconds limit)
    {
        const auto taken = std::make_shared<std::promise<void>>();
        std::future<void> done = taken->get_future();
        waiters.emplace_back([this, taken] {
            const SemaphoreLocker lock(semaphore.get(), 1);
            taken->set_value();
        });
        return done.wait_for(limit) == std::future_status::ready;
    }
};

} // namespace zel::test
