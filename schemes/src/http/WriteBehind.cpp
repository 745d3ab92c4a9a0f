#include "http/WriteBehind.h"

#include <utility>

namespace zel {

namespace {

/// Of a quarter of a megabyte each: enough to bridge a short wait for the disk.
constexpr size_t mostPieces = 16;

} // namespace

WriteBehind::WriteBehind(Write write)
    : writePiece(std::move(write))
    , writer([this] { run(); })
{
}

WriteBehind::~WriteBehind()
{
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
    }
    changed.notify_all();
    writer.join();
}

Error WriteBehind::write(const QByteArray &piece)
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return pieces.size() < mostPieces; });
    if (failure.hasError())
        return failure;
    pieces.push_back(piece);
    changed.notify_all();
    return {};
}

Error WriteBehind::drain()
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return pieces.empty(); });
    return failure;
}

void WriteBehind::run()
{
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return isEnding || !pieces.empty(); });
        if (isEnding)
            return;
        writeFirst(lock);
        changed.notify_all();
    }
}

void WriteBehind::writeFirst(std::unique_lock<Mutex> &lock)
{
    const QByteArray piece = pieces.front();
    lock.unlock();
    const Error outcome = writePiece(piece);
    lock.lock();
    pieces.pop_front();
    if (outcome.hasError()) {
        failure = outcome;
        pieces.clear();
    }
}

} // namespace zel
