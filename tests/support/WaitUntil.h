#pragma once

#include <QDeadlineTimer>
#include <QThread>

#include <chrono>
#include <functional>

namespace zel::test {

/// Looks again and again until the condition holds. False if it did not within the limit, which is
/// far above what anything takes and below the limit of a test.
inline bool waitUntil(const std::function<bool()> &condition)
{
    using namespace std::chrono_literals;
    const QDeadlineTimer deadline(40s);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(2);
    }
    return true;
}

} // namespace zel::test
