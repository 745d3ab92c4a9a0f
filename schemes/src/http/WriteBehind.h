#pragma once

#include "errors/Error.h"
#include "threads/Mutex.h"

#include <QByteArray>

#include <condition_variable>
#include <deque>
#include <functional>
#include <thread>

namespace zel {

/// Writes on a thread of its own, in order, so that the network does not wait for the disk. Holds
/// a few pieces at most; whoever is faster waits for the other.
///
/// One thread hands out the pieces and calls all members. A failure ends the writing: what is
/// handed out afterwards is dropped, and every member tells the failure.
class WriteBehind
{
public:
    using Write = std::function<Error(const QByteArray &)>;

    /// `write` is called on the other thread, never after drain() has returned until the next piece
    /// comes.
    explicit WriteBehind(Write write);
    /// Drops what is not written yet, and waits for the piece that is just being written.
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    Error write(const QByteArray &piece);
    /// Waits until everything is written.
    Error drain();

private:
    void run();
    void writeFirst(std::unique_lock<Mutex> &lock);

    const Write writePiece;
    Mutex mutex { "the pieces to be written" };
    std::condition_variable_any changed;
    std::deque<QByteArray> pieces; ///< the first one stays while it is being written
    bool isEnding = false;
    Error failure;
    std::thread writer;
};

} // namespace zel
