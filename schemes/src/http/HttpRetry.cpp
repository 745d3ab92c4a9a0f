#include "http/HttpRetry.h"

#include <QDeadlineTimer>
#include <QRandomGenerator>
#include <QThread>

#include <algorithm>

namespace zel {

namespace {

constexpr unsigned long cancelPollMs = 50;

} // namespace

HttpRetry::HttpRetry(const HttpSettings &settings, int retries, std::function<bool()> isCanceled)
    : settings(settings)
    , retries(retries)
    , isCanceled(std::move(isCanceled))
{
}

bool HttpRetry::waitForNext(const HttpHead &head)
{
    if (failures++ >= retries)
        return false;
    const std::chrono::milliseconds asked = head.retryAfter().value_or(std::chrono::seconds(0));
    if (asked > settings.longestWait)
        return false;
    wait(std::max(asked, nextBackOff()));
    return !isCanceled();
}

std::chrono::milliseconds HttpRetry::nextBackOff()
{
    auto time = settings.backOff;
    for (int i = 1; i < failures && time < settings.longestBackOff; ++i)
        time *= 2;
    time = std::min(time, settings.longestBackOff);
    // Spread over a quarter, so that programs that failed together do not come back together.
    const auto spread = static_cast<int>(std::min<qint64>(time.count() / 4, 10000));
    return time + std::chrono::milliseconds(QRandomGenerator::global()->bounded(spread + 1));
}

void HttpRetry::wait(std::chrono::milliseconds time)
{
    if (settings.wait)
        return settings.wait(time);
    const QDeadlineTimer end(time);
    while (!end.hasExpired() && !isCanceled())
        QThread::msleep(std::min(cancelPollMs, static_cast<unsigned long>(end.remainingTime())));
}

} // namespace zel
