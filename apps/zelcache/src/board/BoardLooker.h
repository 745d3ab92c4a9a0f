#pragma once

#include "board/BoardSource.h"

#include <QThread>

#include <functional>
#include <memory>
#include <optional>

namespace zel::cli {

/// Looks at a cache on a thread of its own, so that a file system that does not answer keeps no key
/// and no signal waiting; on the calling one where the system gives no thread. Used on the main
/// thread, whose event loop brings what was seen.
class BoardLooker
{
public:
    using OnSeen = std::function<void(const Result<BoardLook> &)>;

    BoardLooker(const ResourceManagerSettings &settings, OnSeen onSeen);
    /// Waits for a look that is not over.
    ~BoardLooker();
    BoardLooker(const BoardLooker &) = delete;
    BoardLooker &operator=(const BoardLooker &) = delete;

    /// Nothing happens while a look is on its way.
    void look();
    /// Whether no look is on its way any more; one that ends at once is waited for.
    bool isOver();

private:
    void lookHere();
    void tell();

    const ResourceManagerSettings settings;
    const OnSeen onSeen;
    QObject receiver; ///< lives on the main thread
    std::optional<Result<BoardLook>> seen;
    std::unique_ptr<QThread> thread; ///< null while there is no look
};

} // namespace zel::cli
