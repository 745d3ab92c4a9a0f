#include "ResourceUsers.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonObject>
#include <QStringList>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ResourceUsers)
};

/// After this long without a ping the others take a program for dead.
constexpr qint64 silenceOfTheDead = 30'000;

void addOnce(QList<qint64> &processIds, qint64 processId)
{
    if (!processIds.contains(processId))
        processIds.append(processId);
}

QSet<qint64> livingClients(const ResourceCacheReader::Snapshot &snapshot, qint64 now)
{
    QSet<qint64> ids;
    for (const ResourceCacheReader::Client &client : snapshot.clients) {
        if (isAlive(client, now))
            ids.insert(client.id);
    }
    return ids;
}

} // namespace

bool isAlive(const ResourceCacheReader::Client &client, qint64 now)
{
    return now - client.lastPing <= silenceOfTheDead;
}

ResourceUsers usersByReference(const ResourceCacheReader::Snapshot &snapshot, qint64 now)
{
    const QSet<qint64> living = livingClients(snapshot, now);
    ResourceUsers users;
    for (const ResourceCacheReader::Usage &usage : snapshot.usages) {
        if (usage.processId && living.contains(usage.clientId))
            addOnce(users[usage.reference], *usage.processId);
    }
    return users;
}

QList<qint64> fetchersOf(const ResourceCacheReader::Snapshot &snapshot, const QString &reference)
{
    QList<qint64> fetchers;
    for (const bool fetching : { true, false }) {
        for (const ResourceCacheReader::AcquiringTask &task : snapshot.acquiringTasks) {
            if (task.reference == reference && task.processId
                && task.progress.has_value() == fetching)
                addOnce(fetchers, *task.processId);
        }
    }
    return fetchers;
}

QString programOf(qint64 processId)
{
    QFile name(u"/proc/%1/comm"_s.arg(processId));
    return name.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(name.readAll().trimmed())
                                          : QString();
}

QString processesText(const QList<qint64> &processIds)
{
    QStringList texts;
    for (const qint64 processId : processIds) {
        const QString program = programOf(processId);
        const QString number = Texts::tr("process %1").arg(processId);
        texts.append(program.isEmpty() ? number : number + u" ("_s + program + u')');
    }
    return texts.join(u", "_s);
}

QJsonArray processesJson(const QList<qint64> &processIds)
{
    QJsonArray processes;
    for (const qint64 processId : processIds) {
        const QString program = programOf(processId);
        processes.append(QJsonObject {
            { u"process"_s, processId },
            { u"program"_s, program.isEmpty() ? QJsonValue() : QJsonValue(program) } });
    }
    return processes;
}

} // namespace zel::cli
