#include "removal/OutdatedResources.h"

#include "errors/Propagate.h"
#include "output/Format.h"
#include "output/Json.h"
#include "output/Sums.h"
#include "references/ResourceReference.h"
#include "removal/RemovalReport.h"

#include <QCoreApplication>
#include <QSet>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::OutdatedResources)
};

QString versionText(const QVersionNumber &version)
{
    return version.isNull() ? Texts::tr("none") : version.toString();
}

qint64 sizeOfAll(const OutdatedResources &outdated)
{
    return sumOver(outdated, [](const OutdatedResource &each) { return each.resource.size; });
}

QJsonArray rowsJson(const OutdatedResources &outdated)
{
    QJsonArray rows;
    for (const OutdatedResource &each : outdated)
        rows.append(QJsonObject { { u"reference"_s, each.resource.reference },
                                  { u"size"_s, each.resource.size },
                                  { u"version"_s, json::orNull(each.resource.version) },
                                  { u"declaredVersion"_s, json::orNull(each.declared) },
                                  { u"processes"_s, processesJson(each.processes) } });
    return rows;
}

QString summary(const OutdatedReport &report)
{
    const QString text
        = report.isDryRun ? Texts::tr("%1 would go, %2") : Texts::tr("%1 removed, %2 freed");
    return text.arg(countText(report.removed.size()), sizeText(sizeOfAll(report.removed)));
}

} // namespace

Result<OutdatedResources> outdatedOf(const ResourceCacheReader::Snapshot &snapshot,
                                     const ResourceUsers &users)
{
    OutdatedResources outdated;
    for (const ResourceCacheReader::Resource &resource : snapshot.resources) {
        if (resource.status != ResourceStatus::Ready)
            continue;
        const auto reference = ResourceReference::fromString(resource.reference);
        if (!reference.hasValue()) {
            const QString text = resource.reference + u": "_s + reference.error().errorMessage();
            return ZEL_ERROR(reference.error().errorCode(), text);
        }
        const QVersionNumber declared = reference.value()->referenceVersion();
        if (declared.majorVersion() > resource.version.majorVersion())
            outdated.append({ resource, declared, users.value(resource.reference) });
    }
    return outdated;
}

OutdatedReport reportOf(const OutdatedResources &before, const OutdatedResources &after)
{
    QSet<QString> still;
    for (const OutdatedResource &each : after)
        still.insert(each.resource.reference);
    OutdatedReport report;
    report.left = after;
    for (const OutdatedResource &each : before) {
        if (!still.contains(each.resource.reference))
            report.removed.append(each);
    }
    return report;
}

TextAt outdatedLines(const OutdatedReport &report)
{
    qsizetype columns = 0;
    for (const OutdatedResource &each : report.removed)
        columns = std::max(columns, sizeText(each.resource.size).size());
    return [&report, columns](qsizetype index) {
        if (index == report.removed.size())
            return summary(report);
        const OutdatedResource &each = report.removed.at(index);
        return u"%1  %2 -> %3  %4"_s.arg(sizeText(each.resource.size).rightJustified(columns),
                                         versionText(each.resource.version),
                                         versionText(each.declared), each.resource.reference);
    };
}

QJsonObject outdatedJson(const OutdatedReport &report)
{
    return { { u"dryRun"_s, report.isDryRun },
             { u"removed"_s, rowsJson(report.removed) },
             { u"freed"_s, sizeOfAll(report.removed) },
             { u"left"_s, rowsJson(report.left) } };
}

} // namespace zel::cli
