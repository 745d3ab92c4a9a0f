#include "CacheReport.h"

#include "Format.h"
#include "Json.h"
#include "LabeledLines.h"
#include "ResourceUsers.h"

#include <QCoreApplication>
#include <QMetaEnum>
#include <QStringBuilder>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::CacheReport)
};

using Reader = ResourceCacheReader;

/// How many objects hold each resource that is held, counted in one pass.
QHash<QString, int> usagesByReference(const Reader::Snapshot &snapshot)
{
    QHash<QString, int> counts;
    for (const Reader::Usage &usage : snapshot.usages)
        ++counts[usage.reference];
    return counts;
}

QJsonObject resourceJson(const Reader::Resource &resource, int usages)
{
    QJsonObject object { { u"reference"_s, resource.reference },
                         { u"status"_s, toText(resource.status) },
                         { u"size"_s, resource.size },
                         { u"lastAccess"_s, resource.lastAccess },
                         { u"cleanupPolicy"_s, toText(resource.policy) },
                         { u"usages"_s, usages } };
    object.insert(u"path"_s, resource.path.isEmpty() ? QJsonValue() : QJsonValue(resource.path));
    object.insert(u"version"_s,
                  resource.version.isNull() ? QJsonValue()
                                            : QJsonValue(resource.version.toString()));
    return object;
}

QString quotedOrNull(const QString &text)
{
    return text.isEmpty() ? u"null"_s : json::quoted(text);
}

/// The same as text, its members in the same order. By hand: objects of each of many resources
/// would take most of the time of a list.
QString resourceJsonText(const Reader::Resource &resource, int usages)
{
    const QString version = resource.version.isNull() ? QString() : resource.version.toString();
    return u"{\"cleanupPolicy\":\"" % toText(resource.policy) % u"\",\"lastAccess\":"
        % QString::number(resource.lastAccess) % u",\"path\":" % quotedOrNull(resource.path)
        % u",\"reference\":" % json::quoted(resource.reference) % u",\"size\":"
        % QString::number(resource.size) % u",\"status\":\"" % toText(resource.status)
        % u"\",\"usages\":" % QString::number(usages) % u",\"version\":" % quotedOrNull(version)
        % u'}';
}

QString resourcesText(const QHash<ResourceStatus, int> &counts)
{
    const int wanted = counts.value(ResourceStatus::Acquiring)
        + counts.value(ResourceStatus::ScheduledForAcquire);
    return Texts::tr("%1 ready, %2 being fetched, %3 missing")
        .arg(counts.value(ResourceStatus::Ready))
        .arg(wanted)
        .arg(counts.value(ResourceStatus::Missing));
}

QString clientText(const Reader::Client &client, qint64 now)
{
    const QString number = QString::number(client.processId);
    if (isAlive(client, now))
        return Texts::tr("process %1").arg(number);
    const auto silence = std::chrono::seconds((now - client.lastPing) / 1000);
    return Texts::tr("process %1 (silent for %2)").arg(number, durationText(silence));
}

QString clientsText(const StatusReport &report)
{
    QStringList texts;
    for (const Reader::Client &client : report.activity.clients)
        texts.append(clientText(client, report.now));
    return texts.isEmpty() ? Texts::tr("none") : texts.join(u", "_s);
}

QString transferText(const TransferReport &transfer)
{
    QStringList parts;
    if (transfer.receivedBytes && transfer.totalBytes)
        parts.append(Texts::tr("%1 of %2")
                         .arg(sizeText(*transfer.receivedBytes), sizeText(*transfer.totalBytes)));
    else if (transfer.receivedBytes)
        parts.append(sizeText(*transfer.receivedBytes));
    if (transfer.bytesPerSecond)
        parts.append(rateText(*transfer.bytesPerSecond));
    return parts.join(u"  "_s);
}

QString processText(const std::optional<qint64> &processId)
{
    return processId ? Texts::tr("process %1").arg(*processId)
                     : Texts::tr("a process that is gone");
}

QString taskLine(const StatusReport &report, const Reader::AcquiringTask &task)
{
    const QString waiting = Texts::tr("waiting");
    const QString state = task.progress ? u"%1%"_s.arg(*task.progress, 3) : waiting;
    QString line = u"  %1  %2  %3"_s.arg(state.leftJustified(waiting.size()),
                                         processText(task.processId), task.reference);
    if (!task.progress)
        return line;
    if (const auto transfer = report.transfers.constFind(task.reference);
        transfer != report.transfers.cend())
        line += u"  "_s + transferText(*transfer);
    return line;
}

QJsonValue optionalJson(const std::optional<qint64> &number)
{
    return number ? QJsonValue(*number) : QJsonValue();
}

QJsonArray clientsJson(const StatusReport &report)
{
    QJsonArray clients;
    for (const Reader::Client &client : report.activity.clients)
        clients.append(QJsonObject { { u"process"_s, client.processId },
                                     { u"lastPing"_s, client.lastPing },
                                     { u"alive"_s, isAlive(client, report.now) } });
    return clients;
}

QJsonObject taskJson(const StatusReport &report, const Reader::AcquiringTask &task)
{
    QJsonObject object { { u"reference"_s, task.reference },
                         { u"process"_s, optionalJson(task.processId) },
                         { u"fetching"_s, task.progress.has_value() } };
    if (!task.progress)
        return object;
    object.insert(u"percent"_s, *task.progress);
    const TransferReport transfer = report.transfers.value(task.reference);
    object.insert(u"receivedBytes"_s, optionalJson(transfer.receivedBytes));
    object.insert(u"totalBytes"_s, optionalJson(transfer.totalBytes));
    if (transfer.bytesPerSecond)
        object.insert(u"bytesPerSecond"_s, *transfer.bytesPerSecond);
    return object;
}

QJsonArray tasksJson(const StatusReport &report)
{
    QJsonArray tasks;
    for (const Reader::AcquiringTask &task : report.activity.acquiringTasks)
        tasks.append(taskJson(report, task));
    return tasks;
}

QJsonObject countsJson(const QHash<ResourceStatus, int> &counts)
{
    QJsonObject object;
    for (const auto status : { ResourceStatus::Ready, ResourceStatus::Missing,
                               ResourceStatus::ScheduledForAcquire, ResourceStatus::Acquiring })
        object.insert(toText(status), counts.value(status));
    return object;
}

QJsonObject sizesJson(const StatusReport &report)
{
    return { { u"current"_s, report.activity.currentSize },
             { u"optimal"_s, report.limits.optimalSize },
             { u"maximum"_s, report.limits.maximumSize },
             { u"free"_s, optionalJson(report.freeBytes) } };
}

} // namespace

TextAt listLines(const Reader::Snapshot &snapshot)
{
    QStringList sizes;
    sizes.reserve(snapshot.resources.size());
    qsizetype statusColumns = 0;
    qsizetype sizeColumns = 0;
    for (const Reader::Resource &resource : snapshot.resources) {
        sizes.append(sizeText(resource.size));
        statusColumns = std::max(statusColumns, toText(resource.status).size());
        sizeColumns = std::max(sizeColumns, sizes.last().size());
    }
    return [=, &snapshot](qsizetype index) -> QString {
        const Reader::Resource &resource = snapshot.resources.at(index);
        return toText(resource.status).leftJustified(statusColumns) % u"  "
            % sizes.at(index).rightJustified(sizeColumns) % u"  " % timeText(resource.lastAccess)
            % u"  " % resource.reference;
    };
}

TextAt listJson(const Reader::Snapshot &snapshot)
{
    return [&snapshot, usages = usagesByReference(snapshot)](qsizetype index) {
        const Reader::Resource &resource = snapshot.resources.at(index);
        return resourceJsonText(resource, usages.value(resource.reference));
    };
}

TextAt referenceLines(const Reader::Snapshot &snapshot)
{
    return [&snapshot](qsizetype index) {
        return snapshot.resources.at(index).reference;
    };
}

QJsonObject resourceJson(const Reader::Snapshot &snapshot, const Reader::Resource &resource)
{
    return resourceJson(resource, usagesByReference(snapshot).value(resource.reference));
}

QStringList statusLines(const StatusReport &report)
{
    const Reader::Activity &activity = report.activity;
    QStringList lines = labeledLines({
        { Texts::tr("Cache"), report.path.baseDirPath() },
        { Texts::tr("Size"),
          Texts::tr("%1 of %2, at most %3")
              .arg(sizeText(activity.currentSize), sizeText(report.limits.optimalSize),
                   sizeText(report.limits.maximumSize)) },
        { Texts::tr("Free on disk"),
          report.freeBytes ? sizeText(*report.freeBytes) : Texts::tr("unknown") },
        { Texts::tr("Resources"), resourcesText(activity.resourceCounts) },
        { Texts::tr("Programs"), clientsText(report) },
        { Texts::tr("Last count"),
          activity.lastScanTimestamp == 0 ? Texts::tr("never")
                                          : timeText(activity.lastScanTimestamp * 1000) },
    });
    if (!activity.acquiringTasks.isEmpty())
        lines.append(Texts::tr("Fetches:"));
    for (const Reader::AcquiringTask &task : activity.acquiringTasks)
        lines.append(taskLine(report, task));
    return lines;
}

QJsonObject statusJson(const StatusReport &report)
{
    return { { u"baseDirectory"_s, report.path.baseDirPath().toString() },
             { u"dataDirectory"_s, report.path.cacheDataDir().toString() },
             { u"database"_s, report.path.databasePath().toString() },
             { u"sizes"_s, sizesJson(report) },
             { u"resources"_s, countsJson(report.activity.resourceCounts) },
             { u"clients"_s, clientsJson(report) },
             { u"fetches"_s, tasksJson(report) },
             { u"lastScan"_s, report.activity.lastScanTimestamp } };
}

} // namespace zel::cli
