#include "plan/FitPlan.h"

#include "ExitCode.h"
#include "output/Format.h"
#include "output/Json.h"
#include "output/Sums.h"
#include "removal/RemovalReport.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cmath>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::FitPlan)
};

using Missing = FitPlan::Missing;

QString sumText(const FitPlan &plan)
{
    const QString count = countText(plan.missing.size());
    const QString size = sizeText(plan.missingBytes());
    if (plan.unknownSizes() == 0)
        return Texts::tr("%1 to fetch, %2").arg(count, size);
    if (plan.unknownSizes() == plan.missing.size())
        return Texts::tr("%1 to fetch, of unknown size").arg(count);
    return Texts::tr("%1 to fetch, %2 without the %3 of unknown size")
        .arg(count, size, QString::number(plan.unknownSizes()));
}

QString verdictText(const FitPlan &plan)
{
    const QString afterwards = sizeText(plan.sizeAfterwards());
    const QString maximum = sizeText(plan.limits.maximumSize);
    if (!plan.fitsMaximum())
        return Texts::tr("Does not fit the cache: %1 afterwards, at most %2")
            .arg(afterwards, maximum);
    if (!plan.fitsDisk())
        return Texts::tr("Does not fit the disk: %1 to come, %2 free, %3 can go, %4 stay free")
            .arg(sizeText(plan.openBytes()), sizeText(*plan.freeBytes),
                 sizeText(sizeOfAll(plan.evicted)), sizeText(FitPlan::reserveBytes));
    if (plan.unknownSizes() == 0)
        return Texts::tr("Fits: %1 afterwards, at most %2").arg(afterwards, maximum);
    return Texts::tr("Fits as far as sizes are known: %1 afterwards, at most %2")
        .arg(afterwards, maximum);
}

QString timeText(const FitPlan &plan)
{
    const auto time = plan.time();
    return time ? Texts::tr("Time: about %1").arg(durationText(*time)) : Texts::tr("Time: unknown");
}

/// What comes, what goes and what cannot be had.
QStringList resourceLines(const FitPlan &plan)
{
    const QString comes = Texts::tr("fetch");
    const QString goes = Texts::tr("evict");
    const QString absent = plan.nowhere.isEmpty() ? QString() : Texts::tr("not there");
    const auto line = [width = std::max({ comes.size(), goes.size(), absent.size() })](
                          const QString &what, const QString &size, const QString &reference) {
        return u"%1  %2  %3"_s.arg(what.leftJustified(width), size.rightJustified(10), reference);
    };
    QStringList lines;
    for (const Missing &each : plan.missing)
        lines.append(
            line(comes, each.size ? sizeText(*each.size) : Texts::tr("unknown"), each.reference));
    for (const ResourceCacheReader::Resource &resource : plan.evicted)
        lines.append(line(goes, sizeText(resource.size), resource.reference));
    for (const Missing &each : plan.nowhere)
        lines.append(line(absent, u"-"_s, each.reference));
    return lines;
}

QJsonArray missingJson(const FitPlan &plan)
{
    QJsonArray missing;
    for (const Missing &each : plan.missing)
        missing.append(QJsonObject { { u"reference"_s, each.reference },
                                     { u"size"_s, json::orNull(each.size) },
                                     { u"stagedBytes"_s, each.stagedBytes },
                                     { u"bytesPerSecond"_s, json::orNull(each.bytesPerSecond) } });
    return missing;
}

QJsonArray nowhereJson(const FitPlan &plan)
{
    QJsonArray nowhere;
    for (const Missing &each : plan.nowhere)
        nowhere.append(json::entry(each.reference, Error(int(ExitCode::AnswerIsNo), each.reason)));
    return nowhere;
}

QJsonArray evictedJson(const FitPlan &plan)
{
    QJsonArray evicted;
    for (const ResourceCacheReader::Resource &resource : plan.evicted)
        evicted.append(
            QJsonObject { { u"reference"_s, resource.reference }, { u"size"_s, resource.size } });
    return evicted;
}

} // namespace

qint64 FitPlan::missingBytes() const
{
    return sumOver(missing, [](const Missing &each) { return each.size.value_or(0); });
}

qint64 FitPlan::openBytes() const
{
    return sumOver(missing, [](const Missing &each) { return each.openBytes(); });
}

std::optional<std::chrono::seconds> FitPlan::time() const
{
    double seconds = 0;
    for (const Missing &each : missing) {
        if (!each.size || !each.bytesPerSecond)
            return {};
        seconds += double(each.openBytes()) / double(*each.bytesPerSecond);
    }
    return std::chrono::seconds(std::llround(std::ceil(seconds)));
}

qsizetype FitPlan::unknownSizes() const
{
    return std::count_if(missing.begin(), missing.end(),
                         [](const Missing &each) { return !each.size; });
}

qint64 FitPlan::sizeAfterwards() const
{
    const qint64 kept = differenceOf(differenceOf(size, staleBytes), sizeOfAll(evicted));
    return sumOf(kept, missingBytes());
}

bool FitPlan::fitsMaximum() const
{
    return missingBytes() == 0 || limits.maximumSize <= 0 || sizeAfterwards() <= limits.maximumSize;
}

qint64 FitPlan::bytesShortOnDisk() const
{
    if (!freeBytes || openBytes() == 0)
        return 0;
    return std::max(differenceOf(sumOf(openBytes(), reserveBytes), *freeBytes), qint64(0));
}

qint64 FitPlan::purgeBytes() const
{
    const qint64 forDisk = bytesShortOnDisk();
    // What is counted of it already is not counted twice.
    const qint64 added = std::max(differenceOf(missingBytes(), staleBytes), qint64(0));
    if (forDisk == 0)
        return added;
    // A purge begins above the optimal size, and then goes down to its goal.
    const qint64 optimal = limits.optimalSize;
    const qint64 beyond = std::max(sumOf(purgeGoal(limits), sumOf(forDisk, 1)), sumOf(optimal, 1));
    return std::max(added, differenceOf(beyond, size));
}

bool FitPlan::needsPurge() const
{
    return !missing.isEmpty() && sumOf(size, purgeBytes()) > limits.optimalSize;
}

bool isHere(const ResourceCacheReader::Resource &resource)
{
    if (resource.status != ResourceStatus::Ready || resource.path.isEmpty())
        return false;
    const QFileInfo data(resource.path);
    return data.exists() && data.isReadable();
}

QSet<QString> keysOfWhatIsHere(const ResourceCacheReader::Snapshot &snapshot)
{
    QSet<QString> keys;
    for (const ResourceCacheReader::Resource &resource : snapshot.resources) {
        if (isHere(resource))
            keys.insert(resource.reference);
    }
    return keys;
}

FitPlan fitPlan(const ResourceCacheReader::Snapshot &snapshot, const ResourceCacheSizes &limits,
                const QList<FitPlan::Missing> &missing, const QStringList &wanted,
                std::optional<qint64> freeBytes, qint64 now)
{
    FitPlan plan;
    plan.missing = missing;
    plan.limits = limits;
    plan.size = snapshot.currentSize;
    plan.freeBytes = freeBytes;
    ResourceUsers users = usersByReference(snapshot, now);
    for (const QString &key : wanted)
        users[key].append(QCoreApplication::applicationPid());
    QSet<QString> missingKeys;
    for (const FitPlan::Missing &each : missing)
        missingKeys.insert(each.reference);
    for (const ResourceCacheReader::Resource &resource : snapshot.resources) {
        if (missingKeys.contains(resource.reference)) {
            plan.staleBytes = sumOf(plan.staleBytes, resource.size);
            users[resource.reference].append(QCoreApplication::applicationPid());
        }
    }
    if (plan.needsPurge())
        plan.evicted = planPurge(snapshot, { limits, plan.purgeBytes() }, users).resources;
    return plan;
}

QStringList fitPlanLines(const FitPlan &plan)
{
    QStringList lines = resourceLines(plan);
    if (plan.missing.isEmpty() && !plan.nowhere.isEmpty())
        return lines;
    lines.append(sumText(plan));
    if (!plan.missing.isEmpty())
        lines.append(timeText(plan));
    lines.append(verdictText(plan));
    if (!plan.fits())
        lines.append(Texts::tr("\"zelcache why\" tells what fills the cache."));
    return lines;
}

QString fitPlanSummary(const FitPlan &plan)
{
    return sumText(plan) + u". "_s + verdictText(plan);
}

QJsonObject fitPlanJson(const FitPlan &plan)
{
    const auto time = plan.time();
    return { { u"missing"_s, missingJson(plan) },
             { u"notThere"_s, nowhereJson(plan) },
             { u"missingBytes"_s, plan.missingBytes() },
             { u"unknownSizes"_s, plan.unknownSizes() },
             { u"seconds"_s, time ? QJsonValue(qint64(time->count())) : QJsonValue() },
             { u"evicted"_s, evictedJson(plan) },
             { u"size"_s, plan.size },
             { u"sizeAfterwards"_s, plan.sizeAfterwards() },
             { u"maximum"_s, plan.limits.maximumSize },
             { u"free"_s, json::orNull(plan.freeBytes) },
             { u"fits"_s, plan.fits() } };
}

} // namespace zel::cli
