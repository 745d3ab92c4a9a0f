#pragma once

#include "ResourceCacheReader.h"

#include <QJsonArray>
#include <QStringList>

#include <functional>
#include <optional>

namespace zel::cli {

/// What can be seen of a process at this moment.
struct ProcessSight
{
    std::optional<qint64> startedAt; ///< milliseconds since the epoch; empty without a process
    QString program; ///< empty if it cannot be seen
};
using ProcessLookup = std::function<ProcessSight(qint64 processId)>;
ProcessSight lookAtProcess(qint64 processId);

/// What became of a program that takes, or took, part in the cache.
enum class Liveness {
    Alive, ///< its process is there, and it pings
    Silent, ///< its process is there, but the others take it for dead by now
    Dead, ///< there is no such process, or it lives where it cannot be seen from here
    Reused, ///< its number belongs to another process by now
};

/// One program as the cache knows it.
struct Program
{
    std::optional<qint64> processId; ///< empty if the cache does not know it any more
    QString name; ///< empty if it cannot be seen
    std::optional<qint64> lastPing; ///< milliseconds since the epoch
    Liveness liveness = Liveness::Dead;
    bool counts = false; ///< the others take it for alive: what it holds is held
};

/// `clientId`: of its row, which may be gone. `now`: milliseconds since the epoch.
Program programOfClient(const ResourceCacheReader::Snapshot &snapshot, qint64 clientId, qint64 now,
                        const ProcessLookup &look);

/// "process 12 (program), last ping 0:02 ago" and what became of it.
QString programText(const Program &program, qint64 now);
QJsonObject programJson(const Program &program);

/// One program that has to do with a resource.
struct Holder
{
    enum class Role { Fetches, Waits, Uses };

    Role role = Role::Uses;
    Program program;
    int usages = 0; ///< how often it uses the resource at the same time
    std::optional<int> percent; ///< of the one that fetches
};

/// Who fetches, waits for and uses a resource, in this order; each program once in each role.
QList<Holder> holdersOf(const ResourceCacheReader::Snapshot &snapshot, const QString &reference,
                        qint64 now, const ProcessLookup &look);

/// For people a line for each, and for programs.
QStringList holderLines(const QList<Holder> &holders, qint64 now);
QJsonArray holdersJson(const QList<Holder> &holders);

} // namespace zel::cli
