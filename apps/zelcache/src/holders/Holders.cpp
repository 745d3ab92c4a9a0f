#include "holders/Holders.h"

#include "output/Format.h"
#include "output/Json.h"

#include <QCoreApplication>
#include <QJsonObject>

#include <algorithm>
#include <chrono>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::Holders)
};

using Snapshot = ResourceCacheReader::Snapshot;
using Role = Holder::Role;

QString nameText(const Program &program)
{
    const QString number = Texts::tr("process %1").arg(*program.processId);
    return program.name.isEmpty() ? number : u"%1 (%2)"_s.arg(number, program.name);
}

QString roleName(Role role)
{
    switch (role) {
    case Role::Fetches:
        return u"fetches"_s;
    case Role::Waits:
        return u"waits"_s;
    case Role::Uses:
        return u"uses"_s;
    }
    return {};
}

QString roleText(Role role)
{
    switch (role) {
    case Role::Fetches:
        return Texts::tr("fetches");
    case Role::Waits:
        return Texts::tr("waits");
    case Role::Uses:
        return Texts::tr("uses");
    }
    return {};
}

qsizetype roleColumns()
{
    qsizetype columns = 0;
    for (const Role role : { Role::Fetches, Role::Waits, Role::Uses })
        columns = std::max(columns, roleText(role).size());
    return columns;
}

QString amountText(const Holder &holder)
{
    if (holder.percent)
        return u"%1%"_s.arg(*holder.percent);
    return holder.usages > 1 ? Texts::tr("%n times", nullptr, holder.usages) : QString();
}

/// How often each client uses the resource, in the order in which they began.
QList<std::pair<qint64, int>> usagesByClient(const Snapshot &snapshot, const QString &reference)
{
    QList<std::pair<qint64, int>> counts;
    for (const ResourceCacheReader::Usage &usage : snapshot.usages) {
        if (usage.reference != reference)
            continue;
        const auto known = std::find_if(counts.begin(), counts.end(), [&usage](const auto &each) {
            return each.first == usage.clientId;
        });
        if (known == counts.end())
            counts.append({ usage.clientId, 1 });
        else
            ++known->second;
    }
    return counts;
}

} // namespace

Program programOfClient(const Snapshot &snapshot, qint64 clientId, qint64 now,
                        const ProcessLookup &look)
{
    const auto client = std::find_if(snapshot.clients.begin(), snapshot.clients.end(),
                                     [clientId](const auto &each) { return each.id == clientId; });
    if (client == snapshot.clients.end())
        return {};
    const ClientLife life(*client, look(client->processId));
    Program program;
    program.processId = client->processId;
    program.lastPing = client->lastPing;
    program.name = life.program();
    program.liveness = life.at(now);
    program.counts = ClientLife::counts(*client, now);
    return program;
}

QString programText(const Program &program, qint64 now)
{
    if (!program.processId)
        return Texts::tr("a program that is gone");
    const QString name = nameText(program);
    const QString silence
        = durationText(std::chrono::seconds((now - program.lastPing.value_or(now)) / 1000));
    switch (program.liveness) {
    case Liveness::Alive:
        return Texts::tr("%1, last ping %2 ago").arg(name, silence);
    case Liveness::Silent:
        return Texts::tr("%1, silent for %2: it holds nothing any more").arg(name, silence);
    case Liveness::Dead:
        return Texts::tr("%1, dead or not to be seen from here, last ping %2 ago")
            .arg(name, silence);
    case Liveness::Reused:
        break;
    }
    return Texts::tr("%1, dead: the number belongs to another program now, last ping %2 ago")
        .arg(name, silence);
}

QJsonObject programJson(const Program &program)
{
    return { { u"process"_s, json::orNull(program.processId) },
             { u"program"_s, json::orNull(program.name) },
             { u"state"_s, livenessName(program.liveness) },
             { u"counts"_s, program.counts },
             { u"lastPing"_s, json::orNull(program.lastPing) } };
}

QList<Holder> holdersOf(const Snapshot &snapshot, const QString &reference, qint64 now,
                        const ProcessLookup &look)
{
    QList<Holder> holders;
    for (const ResourceCacheReader::AcquiringTask &task : snapshot.acquiringTasks) {
        if (task.reference == reference)
            holders.append({ task.progress ? Role::Fetches : Role::Waits,
                             programOfClient(snapshot, task.clientId, now, look), 0,
                             task.progress });
    }
    for (const auto &[clientId, count] : usagesByClient(snapshot, reference))
        holders.append(
            { Role::Uses, programOfClient(snapshot, clientId, now, look), count, std::nullopt });
    std::stable_sort(holders.begin(), holders.end(), [](const Holder &left, const Holder &right) {
        return left.role < right.role;
    });
    return holders;
}

QStringList holderLines(const QList<Holder> &holders, qint64 now)
{
    const qsizetype columns = roleColumns();
    QStringList lines;
    for (const Holder &holder : holders) {
        const QString amount = amountText(holder);
        lines.append(roleText(holder.role).leftJustified(columns) + u"  "_s
                     + programText(holder.program, now)
                     + (amount.isEmpty() ? QString() : u", "_s + amount));
    }
    return lines;
}

QJsonArray holdersJson(const QList<Holder> &holders)
{
    QJsonArray array;
    for (const Holder &holder : holders) {
        QJsonObject object = programJson(holder.program);
        object.insert(u"role"_s, roleName(holder.role));
        if (holder.role == Role::Uses)
            object.insert(u"usages"_s, holder.usages);
        if (holder.percent)
            object.insert(u"percent"_s, *holder.percent);
        array.append(object);
    }
    return array;
}

} // namespace zel::cli
