#pragma once

#include "holders/ClientLife.h"

#include <QJsonArray>
#include <QStringList>

namespace zel::cli {

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
