#include "plan/FitPlan.h"

#include "Format.h"
#include "RemovalReport.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

QString sumLine(const FitPlan &plan)
{
    const QString sum
        = u"%1 to fetch, %2"_s.arg(countText(plan.missing.size()), sizeText(plan.missingBytes()));
    return plan.unknownSizes() == 0
        ? sum
        : sum + u" and %1 of unknown size"_s.arg(countText(plan.unknownSizes()));
}

QString verdictLine(const FitPlan &plan)
{
    const QString afterwards = u"%1 afterwards, at most %2"_s.arg(
        sizeText(plan.sizeAfterwards()), sizeText(plan.limits.maximumSize));
    if (!plan.fitsMaximum())
        return u"Does not fit the cache: "_s + afterwards;
    if (!plan.fitsDisk())
        return u"Does not fit the disk: %1 free"_s.arg(sizeText(*plan.freeBytes));
    return (plan.unknownSizes() == 0 ? u"Fits: "_s : u"Fits as far as sizes are known: "_s)
        + afterwards;
}

} // namespace

qint64 FitPlan::missingBytes() const
{
    qint64 bytes = 0;
    for (const Missing &each : missing)
        bytes += each.size.value_or(0);
    return bytes;
}

qsizetype FitPlan::unknownSizes() const
{
    return std::count_if(missing.begin(), missing.end(),
                         [](const Missing &each) { return !each.size; });
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
    plan.evicted = planPurge(snapshot, { limits, plan.missingBytes() }, users).resources;
    return plan;
}

QStringList fitPlanLines(const FitPlan &plan)
{
    QStringList lines;
    for (const FitPlan::Missing &each : plan.missing) {
        const QString size = each.size ? sizeText(*each.size) : u"unknown"_s;
        lines.append(u"fetch  %1  %2"_s.arg(size.rightJustified(10), each.reference));
    }
    for (const ResourceCacheReader::Resource &resource : plan.evicted)
        lines.append(
            u"evict  %1  %2"_s.arg(sizeText(resource.size).rightJustified(10), resource.reference));
    lines.append(sumLine(plan));
    lines.append(verdictLine(plan));
    return lines;
}

QJsonObject fitPlanJson(const FitPlan &plan)
{
    QJsonArray missing;
    for (const FitPlan::Missing &each : plan.missing)
        missing.append(
            QJsonObject { { u"reference"_s, each.reference },
                          { u"size"_s, each.size ? QJsonValue(*each.size) : QJsonValue() } });
    QJsonArray evicted;
    for (const ResourceCacheReader::Resource &resource : plan.evicted)
        evicted.append(
            QJsonObject { { u"reference"_s, resource.reference }, { u"size"_s, resource.size } });
    return { { u"missing"_s, missing },
             { u"missingBytes"_s, plan.missingBytes() },
             { u"unknownSizes"_s, plan.unknownSizes() },
             { u"evicted"_s, evicted },
             { u"size"_s, plan.size },
             { u"sizeAfterwards"_s, plan.sizeAfterwards() },
             { u"maximum"_s, plan.limits.maximumSize },
             { u"free"_s, plan.freeBytes ? QJsonValue(*plan.freeBytes) : QJsonValue() },
             { u"fits"_s, plan.fits() } };
}

} // namespace zel::cli
