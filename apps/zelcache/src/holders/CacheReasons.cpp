#include "holders/CacheReasons.h"

#include "output/Format.h"
#include "removal/RemovalReport.h"

#include <QCoreApplication>
#include <QSet>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::CacheReasons)
};

using Snapshot = ResourceCacheReader::Snapshot;
using Pinning = CacheReasons::Pinning;
using Fetching = CacheReasons::Fetching;

QList<Pinning> pinningOf(const Snapshot &snapshot, const ResourceUsers &users, qint64 now,
                         const ProcessLookup &look)
{
    QHash<qint64, Pinning> byProcess;
    for (const ResourceCacheReader::Resource &resource : snapshot.resources) {
        for (const UserProcess &process : users.value(resource.reference)) {
            byProcess[process.id].bytes += resource.size;
            ++byProcess[process.id].resources;
        }
    }
    QList<Pinning> pinning;
    for (const ResourceCacheReader::Client &client : snapshot.clients) {
        if (!byProcess.contains(client.processId))
            continue;
        pinning.append(byProcess.value(client.processId));
        pinning.last().program = programOfClient(snapshot, client.id, now, look);
    }
    std::stable_sort(pinning.begin(), pinning.end(), [](const Pinning &left, const Pinning &right) {
        return left.bytes > right.bytes;
    });
    return pinning;
}

QList<Fetching> fetchingOf(const Snapshot &snapshot, qint64 now, const ProcessLookup &look)
{
    QList<Fetching> fetching;
    for (const ResourceCacheReader::AcquiringTask &task : snapshot.acquiringTasks) {
        if (task.progress)
            fetching.append({ task.reference, programOfClient(snapshot, task.clientId, now, look),
                              *task.progress });
    }
    return fetching;
}

qsizetype countWithoutSize(const Snapshot &snapshot)
{
    return std::count_if(
        snapshot.resources.begin(), snapshot.resources.end(),
        [](const auto &resource) { return resource.size == 0 && resource.hasPath; });
}

/// What nobody uses, and what is used by whom.
struct Usage
{
    struct Used
    {
        qint64 bytes = 0;
        UserProcesses processes;
    };

    qint64 unusedBytes = 0;
    QList<Used> used;

    /// The bytes that nobody uses once these processes have ended.
    qint64 unusedWithout(const QList<qint64> &ended) const
    {
        qint64 bytes = unusedBytes;
        for (const Used &each : used) {
            const bool isUnused
                = std::all_of(each.processes.begin(), each.processes.end(),
                              [&ended](const auto &process) { return ended.contains(process.id); });
            bytes += isUnused ? each.bytes : 0;
        }
        return bytes;
    }
};

Usage usageOf(const Snapshot &snapshot, const ResourceUsers &users)
{
    Usage usage;
    for (const ResourceCacheReader::Resource &resource : snapshot.resources) {
        const auto processes = users.constFind(resource.reference);
        if (processes == users.cend())
            usage.unusedBytes += resource.size;
        else
            usage.used.append({ resource.size, *processes });
    }
    return usage;
}

bool isAlive(const Pinning &pinning)
{
    return pinning.program.liveness == Liveness::Alive;
}

QList<qint64> processesThatLive(const CacheReasons &reasons, bool living)
{
    QList<qint64> processes;
    for (const Pinning &pinning : reasons.pinning) {
        if (isAlive(pinning) == living)
            processes.append(*pinning.program.processId);
    }
    return processes;
}

/// One that is enough once the others have ended, or as many of those that hold the most as it
/// takes.
std::optional<QList<qint64>> toClose(const CacheReasons &reasons, const Usage &usage,
                                     const QList<qint64> &ended)
{
    const qint64 needed = reasons.size - reasons.plan.goal;
    const auto isEnough = [&](const QList<qint64> &processes) {
        return usage.unusedWithout(ended + processes) >= needed;
    };
    const QList<qint64> living = processesThatLive(reasons, true);
    if (isEnough({}))
        return QList<qint64>();
    for (const qint64 process : living) {
        if (isEnough({ process }))
            return QList<qint64> { process };
    }
    for (qsizetype count = 2; count <= living.size(); ++count) {
        if (isEnough(living.first(count)))
            return living.first(count);
    }
    return {};
}

/// What is dead counts no more in half a minute at most: nobody is closed for what that brings.
void addRemedy(CacheReasons &reasons, const Usage &usage)
{
    const QList<qint64> dead = processesThatLive(reasons, false);
    const auto afterThem = toClose(reasons, usage, dead);
    if (!afterThem)
        return;
    reasons.closing = *afterThem;
    reasons.waitsForTheDead = toClose(reasons, usage, {}) != afterThem;
}

qint64 countsUntil(const Pinning &pinning)
{
    return ClientLife::countsUntil(pinning.program.lastPing.value_or(0));
}

QString pinningText(const Pinning &pinning, qint64 now)
{
    const QString text = Texts::tr("%1 in %2 held by %3")
                             .arg(sizeText(pinning.bytes), countText(pinning.resources),
                                  programText(pinning.program, now));
    if (isAlive(pinning))
        return text;
    const qint64 seconds = std::max<qint64>(countsUntil(pinning) - now, 0) / 1000 + 1;
    return text + u"; "_s + Texts::tr("without a ping it stops counting in %1 s").arg(seconds);
}

QString purgeText(const CacheReasons &reasons)
{
    if (reasons.plan.resources.isEmpty())
        return Texts::tr("A purge could free nothing now.");
    return Texts::tr("A purge would take %1 now, %2, and leave %3; its target is %4.")
        .arg(countText(reasons.plan.resources.size()), sizeText(sizeOfAll(reasons.plan.resources)),
             sizeText(reasons.sizeAfterPurge()), sizeText(reasons.plan.goal));
}

QString closingText(const CacheReasons &reasons)
{
    QStringList texts;
    for (const Pinning &pinning : reasons.pinning) {
        if (!reasons.closing.contains(*pinning.program.processId))
            continue;
        const QString number = Texts::tr("process %1").arg(*pinning.program.processId);
        const QString name = pinning.program.name;
        texts.append(name.isEmpty() ? number : u"%1 (%2)"_s.arg(number, name));
    }
    return texts.join(Texts::tr(" and "));
}

QString remedyText(const CacheReasons &reasons)
{
    if (!reasons.closing.isEmpty()) {
        const QString text = reasons.waitsForTheDead
            ? Texts::tr("Once what is not alive has stopped counting, closing %1 lets the purge "
                        "reach its target.")
            : Texts::tr("Closing %1 lets the purge reach its target.");
        return text.arg(closingText(reasons));
    }
    return reasons.waitsForTheDead
        ? Texts::tr("The purge reaches its target once what is not alive has stopped counting.")
        : Texts::tr("No program whose end would let the purge reach its target can be told.");
}

QString sizeLine(const CacheReasons &reasons)
{
    const QString optimal = sizeText(reasons.limits.optimalSize);
    if (reasons.isWithin())
        return Texts::tr("%1 of %2: the cache is within its sizes.")
            .arg(sizeText(reasons.size), optimal);
    const QString over = sizeText(reasons.size - reasons.limits.optimalSize);
    const QString text = Texts::tr("%1 over the optimal size of %2.").arg(over, optimal);
    if (reasons.size <= reasons.limits.maximumSize)
        return text;
    return text + u' '
        + Texts::tr("The maximum of %1 is exceeded too.").arg(sizeText(reasons.limits.maximumSize));
}

QString verdictName(const CacheReasons &reasons)
{
    if (reasons.isWithin())
        return u"within"_s;
    return reasons.purgeSuffices() ? u"purgeSuffices"_s : u"pinned"_s;
}

QJsonObject with(const Program &program, const QJsonObject &members)
{
    QJsonObject object = programJson(program);
    for (auto member = members.begin(); member != members.end(); ++member)
        object.insert(member.key(), member.value());
    return object;
}

QJsonArray pinningJson(const CacheReasons &reasons)
{
    QJsonArray array;
    for (const Pinning &pinning : reasons.pinning)
        array.append(
            with(pinning.program,
                 { { u"bytes"_s, pinning.bytes },
                   { u"resources"_s, pinning.resources },
                   { u"closing"_s, reasons.closing.contains(*pinning.program.processId) },
                   { u"countsUntil"_s,
                     isAlive(pinning) ? QJsonValue() : QJsonValue(countsUntil(pinning)) } }));
    return array;
}

QJsonArray fetchingJson(const CacheReasons &reasons)
{
    QJsonArray array;
    for (const Fetching &fetching : reasons.fetching)
        array.append(
            with(fetching.program,
                 { { u"reference"_s, fetching.reference }, { u"percent"_s, fetching.percent } }));
    return array;
}

} // namespace

CacheReasons cacheReasons(const Snapshot &snapshot, const ResourceCacheSizes &limits, qint64 now,
                          const ProcessLookup &look)
{
    const ResourceUsers users = usersByReference(snapshot, now);
    CacheReasons reasons;
    reasons.limits = limits;
    reasons.size = snapshot.currentSize;
    reasons.plan = planPurge(snapshot, purgeLimits(limits, {}), users);
    reasons.pinning = pinningOf(snapshot, users, now, look);
    reasons.fetching = fetchingOf(snapshot, now, look);
    reasons.withoutSize = countWithoutSize(snapshot);
    reasons.now = now;
    if (!reasons.purgeSuffices())
        addRemedy(reasons, usageOf(snapshot, users));
    return reasons;
}

QStringList cacheReasonLines(const CacheReasons &reasons)
{
    QStringList lines { sizeLine(reasons) };
    if (reasons.isWithin())
        return lines;
    lines.append(purgeText(reasons));
    for (const Pinning &pinning : reasons.pinning)
        lines.append(u"  "_s + pinningText(pinning, reasons.now));
    for (const Fetching &fetching : reasons.fetching)
        lines.append(u"  "_s
                     + Texts::tr("%1 is being fetched by %2")
                           .arg(fetching.reference, programText(fetching.program, reasons.now)));
    if (reasons.withoutSize > 0)
        lines.append(u"  "_s
                     + Texts::tr("%1 of unknown size, which no purge takes")
                           .arg(countText(reasons.withoutSize)));
    if (!reasons.purgeSuffices())
        lines.append(remedyText(reasons));
    return lines;
}

QJsonObject cacheReasonsJson(const CacheReasons &reasons)
{
    const QJsonObject sizes { { u"current"_s, reasons.size },
                              { u"optimal"_s, reasons.limits.optimalSize },
                              { u"maximum"_s, reasons.limits.maximumSize } };
    const QJsonObject purge { { u"goal"_s, reasons.plan.goal },
                              { u"resources"_s, reasons.plan.resources.size() },
                              { u"freed"_s, sizeOfAll(reasons.plan.resources) },
                              { u"size"_s, reasons.sizeAfterPurge() } };
    return { { u"verdict"_s, verdictName(reasons) },
             { u"sizes"_s, sizes },
             { u"purge"_s, purge },
             { u"holders"_s, pinningJson(reasons) },
             { u"fetches"_s, fetchingJson(reasons) },
             { u"sizeUnknown"_s, reasons.withoutSize } };
}

} // namespace zel::cli
