#include "http/HostLimiter.h"

#include "threads/Mutex.h"

#include <QHash>

#include <chrono>
#include <condition_variable>

namespace zel {

namespace {

constexpr std::chrono::milliseconds cancelPoll { 50 };

struct Occupancy
{
    Mutex mutex { "the places at servers" };
    std::condition_variable_any left;
    QHash<QByteArray, int> counts;
};

/// Never destroyed: a transfer may end while the process does.
Occupancy &occupancy()
{
    static auto *const all = new Occupancy;
    return *all;
}

} // namespace

HostLimiter::Place::Place(QByteArray server)
    : server(std::move(server))
{
}

HostLimiter::Place::~Place()
{
    if (server.isEmpty())
        return;
    Occupancy &all = occupancy();
    {
        const std::lock_guard lock(all.mutex);
        if (--all.counts[server] == 0)
            all.counts.remove(server);
    }
    all.left.notify_all();
}

std::optional<HostLimiter::Place> HostLimiter::enter(const QByteArray &server, int limit,
                                                     const std::function<bool()> &isCanceled)
{
    Occupancy &all = occupancy();
    std::unique_lock lock(all.mutex);
    while (all.counts.value(server) >= limit) {
        if (isCanceled())
            return std::nullopt;
        all.left.wait_for(lock, cancelPoll);
    }
    ++all.counts[server];
    return Place(server);
}

} // namespace zel
