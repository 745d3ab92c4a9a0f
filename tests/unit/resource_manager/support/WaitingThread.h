#pragma once

#include "TemporaryCache.h"
#include "WaitUntil.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

#include <unistd.h>

namespace zel::test {

/// Runs the work on a thread of its own.
class WaitingThread
{
public:
    explicit WaitingThread(std::function<void()> work)
        : thread([this, work = std::move(work)] {
            number = int(::gettid());
            work();
        })
    {
    }
    ~WaitingThread() { join(); }

    /// Waits until the thread sleeps, as it does when it waits for the semaphore.
    bool isWaiting() const
    {
        return waitUntil([this] {
            const QByteArray status = number == 0
                ? QByteArray()
                : readFile(QStringLiteral("/proc/self/task/%1/stat").arg(number.load()));
            return status.mid(status.lastIndexOf(')') + 2).startsWith('S');
        });
    }
    void join()
    {
        if (thread.joinable())
            thread.join();
    }

private:
    std::atomic<int> number = 0;
    std::thread thread;
};

} // namespace zel::test
