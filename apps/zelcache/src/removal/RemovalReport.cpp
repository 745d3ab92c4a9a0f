#include "removal/RemovalReport.h"

#include "output/Format.h"
#include "output/Json.h"

#include <QCoreApplication>
#include <QSet>
#include <QStringBuilder>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::RemovalReport)
};

using Resource = ResourceCacheReader::Resource;
using Reason = Pin::Reason;

bool holdsData(const Resource &resource)
{
    return resource.size > 0 || resource.hasPath;
}

Reason reasonOf(const Resource &resource, const QHash<QString, qint64> &lastAccessOfPlanned)
{
    if (resource.size == 0)
        return Reason::SizeUnknown;
    const auto planned = lastAccessOfPlanned.constFind(resource.reference);
    const bool isUnchanged
        = planned != lastAccessOfPlanned.cend() && *planned == resource.lastAccess;
    return isUnchanged ? Reason::NotRemoved : Reason::Newer;
}

QString pinText(const Pin &pin)
{
    const QString subject = u"%1 (%2)"_s.arg(pin.resource.reference, sizeText(pin.resource.size));
    switch (pin.reason) {
    case Reason::InUse:
        return Texts::tr("%1 is in use by %2").arg(subject, processesText(pin.processes));
    case Reason::SizeUnknown:
        return Texts::tr("%1 has no known size, so that a purge leaves it alone").arg(subject);
    case Reason::NotRemoved:
        return Texts::tr("%1 could not be removed").arg(subject);
    case Reason::Newer:
        return Texts::tr("%1 has changed while the purge ran").arg(subject);
    }
    return subject;
}

QString reasonName(Reason reason)
{
    switch (reason) {
    case Reason::InUse:
        return u"inUse"_s;
    case Reason::SizeUnknown:
        return u"sizeUnknown"_s;
    case Reason::NotRemoved:
        return u"notRemoved"_s;
    case Reason::Newer:
        return u"newer"_s;
    }
    return {};
}

QJsonObject pinJson(const Pin &pin)
{
    return { { u"reference"_s, pin.resource.reference },
             { u"size"_s, pin.resource.size },
             { u"lastAccess"_s, pin.resource.lastAccess },
             { u"reason"_s, reasonName(pin.reason) },
             { u"processes"_s, processesJson(pin.processes) } };
}

QString summary(const PurgeReport &report)
{
    const QString text = report.isDryRun ? Texts::tr("%1 would go, %2; %3 would be left")
                                         : Texts::tr("%1 removed, %2 freed; %3 left");
    return text.arg(countText(report.removed.size()), sizeText(sizeOfAll(report.removed)),
                    sizeText(report.size));
}

} // namespace

QString countText(qsizetype resources)
{
    return resources == 1 ? Texts::tr("1 resource")
                          : Texts::tr("%n resources", nullptr, int(resources));
}

QList<Pin> pinsOf(const ResourceCacheReader::Snapshot &after, const ResourceUsers &users,
                  const ResourceRows &planned)
{
    QHash<QString, qint64> lastAccess;
    for (const Resource &resource : planned)
        lastAccess.insert(resource.reference, resource.lastAccess);
    QList<Pin> pins;
    for (const Resource &resource : after.resources) {
        if (!holdsData(resource))
            continue;
        const UserProcesses processes = users.value(resource.reference);
        pins.append({ resource,
                      processes.isEmpty() ? reasonOf(resource, lastAccess) : Reason::InUse,
                      processes });
    }
    return pins;
}

TextAt purgeLines(const PurgeReport &report)
{
    qsizetype sizeColumns = 0;
    for (const Resource &resource : report.removed)
        sizeColumns = std::max(sizeColumns, sizeText(resource.size).size());
    return [&report, sizeColumns](qsizetype index) -> QString {
        if (index == report.removed.size())
            return summary(report);
        const Resource &resource = report.removed.at(index);
        return sizeText(resource.size).rightJustified(sizeColumns) % u"  "
            % timeText(resource.lastAccess) % u"  " % resource.reference;
    };
}

QStringList pinLines(const QList<Pin> &pins, qsizetype atMost)
{
    QList<Pin> largestFirst = pins;
    std::stable_sort(
        largestFirst.begin(), largestFirst.end(),
        [](const Pin &left, const Pin &right) { return left.resource.size > right.resource.size; });
    QStringList lines;
    for (const Pin &pin : largestFirst.first(std::min(atMost, largestFirst.size())))
        lines.append(pinText(pin));
    if (const qsizetype more = pins.size() - lines.size(); more > 0)
        lines.append(Texts::tr("... and %1 more").arg(countText(more)));
    return lines;
}

QJsonObject purgeJson(const PurgeReport &report)
{
    return { { u"dryRun"_s, report.isDryRun },
             { u"removed"_s, QJsonArray() },
             { u"freed"_s, sizeOfAll(report.removed) },
             { u"size"_s, report.size },
             { u"goal"_s, report.goal },
             { u"goalReached"_s, report.isGoalReached() },
             { u"pinned"_s, QJsonArray() } };
}

TextAt removedJson(const PurgeReport &report)
{
    // By hand: an object of each of many resources would take most of the time.
    return [&report](qsizetype index) -> QString {
        const Resource &resource = report.removed.at(index);
        return u"{\"lastAccess\":" % QString::number(resource.lastAccess) % u",\"reference\":"
            % json::quoted(resource.reference) % u",\"size\":" % QString::number(resource.size)
            % u'}';
    };
}

TextAt pinnedJson(const QList<Pin> &pins)
{
    return [&pins](qsizetype index) {
        return json::text(pinJson(pins.at(index)));
    };
}

} // namespace zel::cli
