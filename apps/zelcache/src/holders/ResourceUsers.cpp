#include "holders/ResourceUsers.h"

#include "output/Json.h"

#include <QCoreApplication>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ResourceUsers)
};

using Snapshot = ResourceCacheReader::Snapshot;

void addOnce(UserProcesses &processes, const UserProcess &process)
{
    if (!processes.contains(process))
        processes.append(process);
}

UserProcess processOf(const ResourceCacheReader::Client &client, const ProcessLookup &look)
{
    if (!look)
        return client.processId;
    return { client.processId, ClientLife(client, look(client.processId)).program() };
}

QSet<qint64> usingClients(const Snapshot &snapshot)
{
    QSet<qint64> ids;
    for (const ResourceCacheReader::Usage &usage : snapshot.usages)
        ids.insert(usage.clientId);
    return ids;
}

/// By client, each looked at once.
QHash<qint64, UserProcess> countingUsers(const Snapshot &snapshot, qint64 now,
                                         const ProcessLookup &look)
{
    const QSet<qint64> ids = usingClients(snapshot);
    QHash<qint64, UserProcess> processes;
    for (const ResourceCacheReader::Client &client : snapshot.clients) {
        if (ids.contains(client.id) && ClientLife::counts(client, now))
            processes.insert(client.id, processOf(client, look));
    }
    return processes;
}

/// Who fetches has a progress.
UserProcesses acquiring(const Snapshot &snapshot, const QString &reference, bool hasProgress,
                        const ProcessLookup &look)
{
    UserProcesses processes;
    for (const ResourceCacheReader::AcquiringTask &task : snapshot.acquiringTasks) {
        if (task.reference != reference || task.progress.has_value() != hasProgress)
            continue;
        for (const ResourceCacheReader::Client &client : snapshot.clients) {
            if (client.id == task.clientId)
                addOnce(processes, processOf(client, look));
        }
    }
    return processes;
}

} // namespace

ResourceUsers usersByReference(const Snapshot &snapshot, qint64 now, const ProcessLookup &look)
{
    const QHash<qint64, UserProcess> counting = countingUsers(snapshot, now, look);
    ResourceUsers users;
    for (const ResourceCacheReader::Usage &usage : snapshot.usages) {
        const auto process = counting.constFind(usage.clientId);
        if (process != counting.cend())
            addOnce(users[usage.reference], *process);
    }
    return users;
}

UserProcesses fetchersOf(const Snapshot &snapshot, const QString &reference,
                         const ProcessLookup &look)
{
    return acquiring(snapshot, reference, true, look);
}

UserProcesses waitersOf(const Snapshot &snapshot, const QString &reference,
                        const ProcessLookup &look)
{
    return acquiring(snapshot, reference, false, look);
}

QString processesText(const UserProcesses &processes)
{
    QStringList texts;
    for (const UserProcess &process : processes) {
        const QString number = Texts::tr("process %1").arg(process.id);
        texts.append(process.program.isEmpty() ? number
                                               : number + u" ("_s + process.program + u')');
    }
    return texts.join(u", "_s);
}

QJsonArray processesJson(const UserProcesses &processes)
{
    QJsonArray array;
    for (const UserProcess &process : processes) {
        array.append(QJsonObject { { u"process"_s, process.id },
                                   { u"program"_s, json::orNull(process.program) } });
    }
    return array;
}

} // namespace zel::cli
