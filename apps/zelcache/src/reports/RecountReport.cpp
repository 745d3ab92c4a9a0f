#include "reports/RecountReport.h"

#include "output/Format.h"
#include "output/Json.h"

#include <QCoreApplication>
#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::RecountReport)
};

using Snapshot = ResourceCacheReader::Snapshot;

QString changeText(qint64 before, qint64 after)
{
    const QString shortBefore = sizeText(before);
    const QString shortAfter = sizeText(after);
    if (shortBefore != shortAfter)
        return u"%1 -> %2"_s.arg(shortBefore, shortAfter);
    // A small change of something big.
    return Texts::tr("%1 -> %2 bytes").arg(QString::number(before), QString::number(after));
}

QString totalLine(const RecountReport &report)
{
    if (report.totalBefore == report.totalAfter)
        return Texts::tr("Whole cache: %1, as before").arg(sizeText(report.totalAfter));
    return Texts::tr("Whole cache: %1").arg(changeText(report.totalBefore, report.totalAfter));
}

QJsonObject sizesJson(qint64 before, qint64 after)
{
    return { { u"before"_s, before }, { u"after"_s, after } };
}

QJsonObject resultJson(const RecountResult &result)
{
    if (result.failure.hasError())
        return json::entry(result.reference, result.failure);
    QJsonObject object = sizesJson(result.before, result.after);
    object.insert(u"reference"_s, result.reference);
    return object;
}

} // namespace

QHash<QString, qint64> readySizes(const Snapshot &snapshot)
{
    QHash<QString, qint64> sizes;
    for (const ResourceCacheReader::Resource &resource : snapshot.resources) {
        if (resource.status == ResourceStatus::Ready)
            sizes.insert(resource.reference, resource.size);
    }
    return sizes;
}

RecountReport recountReport(const Snapshot &before, const Snapshot &after)
{
    const QHash<QString, qint64> sizesBefore = readySizes(before);
    RecountReport report;
    report.totalBefore = before.currentSize;
    report.totalAfter = after.currentSize;
    for (const ResourceCacheReader::Resource &resource : after.resources) {
        const auto known = sizesBefore.constFind(resource.reference);
        if (resource.status == ResourceStatus::Ready && known != sizesBefore.cend()
            && *known != resource.size)
            report.results.append({ resource.reference, {}, false, *known, resource.size });
    }
    return report;
}

QStringList recountLines(const RecountReport &report)
{
    QStringList lines;
    for (const RecountResult &result : report.results) {
        if (result.hasChanged())
            lines.append(changeText(result.before, result.after) + u"  "_s + result.reference);
    }
    lines.append(totalLine(report));
    return lines;
}

QJsonObject recountJson(const RecountReport &report)
{
    QJsonArray results;
    for (const RecountResult &result : report.results)
        results.append(resultJson(result));
    return { { u"results"_s, results },
             { u"gone"_s, QJsonArray::fromStringList(report.gone) },
             { u"total"_s, sizesJson(report.totalBefore, report.totalAfter) } };
}

} // namespace zel::cli
