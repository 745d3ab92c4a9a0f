#pragma once

#include "ResourceCacheReader.h"

#include <functional>
#include <optional>

namespace zel::cli {

/// What can be seen at this moment of the process that has a number.
struct ProcessSight
{
    std::optional<qint64> startedAt; ///< milliseconds since the epoch; empty without a process
    QString program; ///< empty if it cannot be seen
    std::optional<bool> hasCacheOpen; ///< empty if that cannot be seen
};

using ProcessLookup = std::function<ProcessSight(qint64 processId)>;
/// Looks at processes with regard to the cache whose database this is.
ProcessLookup processesOf(const QString &databasePath);

/// What became of a program that takes, or took, part in the cache.
enum class Liveness {
    Alive, ///< its process is there, and it pings
    Silent, ///< its process is there, but the others take it for dead by now
    Dead, ///< there is no such process, or it lives where it cannot be seen from here
    Reused, ///< its number belongs to another process by now
};
/// As it stands in answers for programs.
QString livenessName(Liveness liveness);

/// Judges what became of a client, from its row and from what is seen of the process that has its
/// number. The one judgement by which all commands go. A value.
class ClientLife
{
public:
    using Client = ResourceCacheReader::Client;

    ClientLife(const Client &client, const ProcessSight &sight);

    /// Times are milliseconds since the epoch.
    Liveness at(qint64 now) const;
    /// The program of the client; empty if it cannot be seen. Never that of another process which
    /// has the number by now.
    QString program() const;

    /// Whether the other programs take the client for alive, so that what it holds is held. They
    /// go by its pings alone.
    static bool counts(const Client &client, qint64 now);
    /// The last moment at which it does, if no ping comes after this one.
    static qint64 countsUntil(qint64 lastPing);

private:
    Client client;
    QString programSeen;
    std::optional<Liveness> end; ///< empty if its process is there
};

} // namespace zel::cli
