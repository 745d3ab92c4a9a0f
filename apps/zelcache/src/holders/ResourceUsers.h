#pragma once

#include "holders/ClientLife.h"

#include <QHash>
#include <QJsonArray>

namespace zel::cli {

/// A process as the rows of the cache name it.
struct UserProcess
{
    UserProcess(qint64 id, const QString &program = {})
        : id(id)
        , program(program)
    {
    }

    qint64 id = 0;
    QString program; ///< empty if it cannot be seen

    friend bool operator==(const UserProcess &left, const UserProcess &right)
    {
        return left.id == right.id;
    }
};
using UserProcesses = QList<UserProcess>;

/// The processes that use a resource and count, each once, by its reference. The usage of one that
/// is gone or silent for too long holds nothing: it goes when the cache is next tidied.
using ResourceUsers = QHash<QString, UserProcesses>;
/// `now`: milliseconds since the epoch. Without `look` no programs are named.
ResourceUsers usersByReference(const ResourceCacheReader::Snapshot &snapshot, qint64 now,
                               const ProcessLookup &look = {});

/// The processes that fetch the resource, and those that want it and do not. Without `look` no
/// programs are named.
UserProcesses fetchersOf(const ResourceCacheReader::Snapshot &snapshot, const QString &reference,
                         const ProcessLookup &look = {});
UserProcesses waitersOf(const ResourceCacheReader::Snapshot &snapshot, const QString &reference,
                        const ProcessLookup &look = {});

/// "process 12 (program), process 13"; without the name of one that cannot be seen from here.
QString processesText(const UserProcesses &processes);
/// Of each "process" and "program", which is null if it cannot be seen.
QJsonArray processesJson(const UserProcesses &processes);

} // namespace zel::cli
