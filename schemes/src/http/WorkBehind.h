#pragma once

#include "errors/Error.h"
#include "threads/Mutex.h"

#include <QByteArray>

#include <condition_variable>
#include <deque>
#include <functional>
#include <thread>

namespace zel {

/// Works on pieces of a transfer on a thread of its own, in order, so that the network waits
/// neither for the disk nor for a checksum. Holds a few pieces at most; whoever is faster waits for
/// the other.
///
/// One thread hands out the pieces and calls all members; it does the work itself where the system
/// gives no other thread. A failure ends the work: what is handed out afterwards is dropped, and
/// every member tells the failure.
class WorkBehind
{
public:
    using Work = std::function<Error(const QByteArray &piece)>;

    /// `work` is called on the other thread, if there is one, never after drain() has returned
    /// until the next piece comes.
    explicit WorkBehind(Work work);
    /// Drops the pieces whose turn has not come, and waits for the one whose has.
    ~WorkBehind();
    WorkBehind(const WorkBehind &) = delete;
    WorkBehind &operator=(const WorkBehind &) = delete;

    Error add(const QByteArray &piece);
    /// Waits until the last piece is done.
    Error drain();

private:
    void run();
    void workOnFirst(std::unique_lock<Mutex> &lock);

    const Work work;
    Mutex mutex { "the pieces of a transfer" };
    std::condition_variable_any changed;
    std::deque<QByteArray> pieces; ///< the first one stays while it is being worked on
    bool isEnding = false;
    Error failure;
    std::thread worker;
};

} // namespace zel
