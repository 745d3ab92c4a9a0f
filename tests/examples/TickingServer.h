#pragma once

#include "ScriptedServer.h"

#include <atomic>

namespace zel::test {

/// Serves runs as slowly as a test wants: the first half of "/large/NAME" at once, then a piece
/// with each tick, and the rest once the test lets it go. "/runs/NAME" comes at once, anything else
/// is not there.
class TickingServer
{
public:
    static constexpr qint64 size = 64 * 1024 * 1024;
    static constexpr qint64 pieceSize = 16 * 1024;

    TickingServer();
    ~TickingServer();

    /// Of a path that begins with a slash, as everywhere here.
    QString url(const QString &path) const { return server.url(path.mid(1)); }
    /// The test's event loop has turned once more.
    void tick() { ++ticks; }
    void letGo() { isLetGo = true; }
    /// Pieces that each waited for a tick.
    int piecesSent() const { return pieces; }
    /// Whether a run of this path was asked for, and not only whether it exists.
    bool wasFetched(const QString &path) const;

private:
    void serve(const ScriptedServer::Request &request, ScriptedServer::Connection &connection);
    /// False if the client has gone.
    bool sendSlowly(ScriptedServer::Connection &connection);
    bool waitForTick();

    std::atomic<int> ticks = 0;
    std::atomic<int> pieces = 0;
    std::atomic<bool> isLetGo = false;
    std::atomic<bool> isOver = false;
    ScriptedServer server; // last: its scripts use the others
};

} // namespace zel::test
