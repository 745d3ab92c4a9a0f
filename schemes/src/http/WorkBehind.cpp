#include "http/WorkBehind.h"

#include "errors/Propagate.h"
#include "threads/ThreadStart.h"

#include <utility>

namespace zel {

namespace {

/// Of a quarter of a megabyte each: enough to bridge a short wait.
constexpr size_t mostPieces = 16;

} // namespace

WorkBehind::WorkBehind(Work work)
    : work(std::move(work))
{
    auto thread = Threads::start([this] { run(); });
    if (thread.hasValue())
        worker = std::move(thread).value();
    else
        ZEL_DROP(thread.error()); // the work is done all the same, by whoever hands it out
}

WorkBehind::~WorkBehind()
{
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
    }
    changed.notify_all();
    if (worker.joinable())
        worker.join();
}

Error WorkBehind::add(const QByteArray &piece)
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return pieces.size() < mostPieces; });
    if (failure.hasError())
        return failure;
    pieces.push_back(piece);
    if (!worker.joinable())
        workOnFirst(lock);
    changed.notify_all();
    return failure;
}

Error WorkBehind::drain()
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return pieces.empty(); });
    return failure;
}

void WorkBehind::run()
{
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return isEnding || !pieces.empty(); });
        if (isEnding)
            return;
        workOnFirst(lock);
        changed.notify_all();
    }
}

void WorkBehind::workOnFirst(std::unique_lock<Mutex> &lock)
{
    const QByteArray piece = pieces.front(); // given back under the lock: see HttpSink::write()
    lock.unlock();
    const Error outcome = work(piece);
    lock.lock();
    pieces.pop_front();
    if (outcome.hasError()) {
        failure = outcome;
        pieces.clear();
    }
}

} // namespace zel
