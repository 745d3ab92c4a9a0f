#include "reports/CacheReport.h"

#include "board/BoardJson.h"
#include "output/Format.h"
#include "output/Json.h"
#include "output/LabeledLines.h"

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
    object.insert(u"path"_s, json::orNull(resource.path));
    object.insert(u"version"_s, json::orNull(resource.version));
    return object;
}

QString quotedOrNull(const QString &text)
{
    return text.isEmpty() ? u"null"_s : json::quoted(text);
}

/// Versions as JSON, of which most are the same as the one before.
class VersionTexts
{
public:
    const QString &of(const QVersionNumber &version)
    {
        if (version != last) {
            last = version;
            text = quotedOrNull(version.toString());
        }
        return text;
    }

private:
    QVersionNumber last; ///< at first none
    QString text = u"null"_s;
};

/// The same as text, its members in the same order. By hand: objects of each of many resources
/// would take most of the time of a list.
QString resourceJsonText(const Reader::Resource &resource, int usages, const QString &version)
{
    return u"{\"cleanupPolicy\":\"" % toText(resource.policy) % u"\",\"lastAccess\":"
        % QString::number(resource.lastAccess) % u",\"path\":" % quotedOrNull(resource.path)
        % u",\"reference\":" % json::quoted(resource.reference) % u",\"size\":"
        % QString::number(resource.size) % u",\"status\":\"" % toText(resource.status)
        % u"\",\"usages\":" % QString::number(usages) % u",\"version\":" % version % u'}';
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

/// What became of it, if not all is well.
QString fateText(const BoardParty &party, qint64 now)
{
    const auto milliseconds = std::max<qint64>(now - party.lastSign.value_or(now), 0);
    const QString silence = durationText(std::chrono::seconds(milliseconds / 1000));
    switch (party.life.value_or(Liveness::Alive)) {
    case Liveness::Silent:
        return Texts::tr("silent for %1").arg(silence);
    case Liveness::Dead:
        return Texts::tr("dead or not to be seen from here, last seen %1 ago").arg(silence);
    case Liveness::Reused:
        return Texts::tr("dead, its number is another program's now, last seen %1 ago")
            .arg(silence);
    case Liveness::Alive:
        break;
    }
    return {};
}

QString partyText(const BoardParty &party, qint64 now)
{
    if (!party.life)
        return Texts::tr("a process that is gone");
    const QString process = Texts::tr("process %1").arg(party.processId);
    QStringList details { party.program, fateText(party, now) };
    details.removeAll(QString());
    return details.isEmpty() ? process : u"%1 (%2)"_s.arg(process, details.join(u", "_s));
}

QString clientsText(const Board &board)
{
    QStringList texts;
    for (const BoardParty &client : board.clients)
        texts.append(partyText(client, board.now));
    return texts.isEmpty() ? Texts::tr("none") : texts.join(u", "_s);
}

QString transferText(const Board::Fetch &fetch)
{
    QStringList parts;
    if (fetch.bytes && fetch.totalBytes)
        parts.append(
            Texts::tr("%1 of %2").arg(sizeText(*fetch.bytes), sizeText(*fetch.totalBytes)));
    else if (fetch.bytes)
        parts.append(sizeText(*fetch.bytes));
    if (fetch.bytesPerSecond)
        parts.append(rateText(*fetch.bytesPerSecond));
    return parts.join(u"  "_s);
}

QString taskLine(const QString &state, const BoardParty &party, const QString &reference,
                 const Board &board)
{
    return u"  %1  %2  %3"_s.arg(state, partyText(party, board.now), reference);
}

QStringList taskLines(const Board &board)
{
    const QString waiting = Texts::tr("waiting");
    QStringList lines;
    for (const Board::Fetch &fetch : board.fetches) {
        const QString percent = u"%1%"_s.arg(fetch.percent, 3).leftJustified(waiting.size());
        const QString transfer = transferText(fetch);
        lines.append(taskLine(percent, fetch.fetcher, fetch.reference, board)
                     + (transfer.isEmpty() ? QString() : u"  "_s + transfer));
    }
    for (const Board::Waiter &waiter : board.waiters)
        lines.append(taskLine(waiting, waiter.program, waiter.reference, board));
    return lines;
}

} // namespace

TextAt listLines(const Reader::Snapshot &snapshot)
{
    qsizetype statusColumns = 0;
    qsizetype sizeColumns = 0;
    for (const Reader::Resource &resource : snapshot.resources) {
        statusColumns = std::max(statusColumns, toText(resource.status).size());
        sizeColumns = std::max(sizeColumns, sizeText(resource.size).size());
    }
    return [=, &snapshot](qsizetype index) -> QString {
        const Reader::Resource &resource = snapshot.resources.at(index);
        return toText(resource.status).leftJustified(statusColumns) % u"  "
            % sizeText(resource.size).rightJustified(sizeColumns) % u"  "
            % timeText(resource.lastAccess) % u"  " % resource.reference;
    };
}

TextAt listJson(const Reader::Snapshot &snapshot)
{
    return [&snapshot, usages = usagesByReference(snapshot),
            versions = VersionTexts()](qsizetype index) mutable {
        const Reader::Resource &resource = snapshot.resources.at(index);
        return resourceJsonText(resource, usages.value(resource.reference),
                                versions.of(resource.version));
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
    const Board &board = report.board;
    const qint64 lastScan = report.lastScanTimestamp;
    QStringList lines = labeledLines({
        { Texts::tr("Cache"), report.path.baseDirPath() },
        { Texts::tr("Size"),
          Texts::tr("%1 of %2, at most %3")
              .arg(sizeText(board.currentSize), sizeText(board.limits.optimalSize),
                   sizeText(board.limits.maximumSize)) },
        { Texts::tr("Free on disk"),
          board.freeBytes ? sizeText(*board.freeBytes) : Texts::tr("unknown") },
        { Texts::tr("Resources"), resourcesText(board.resourceCounts) },
        { Texts::tr("Programs"), clientsText(board) },
        { Texts::tr("Last count"), lastScan == 0 ? Texts::tr("never") : timeText(lastScan * 1000) },
    });
    const QStringList tasks = taskLines(board);
    if (!tasks.isEmpty())
        lines.append(Texts::tr("Fetches:"));
    return lines + tasks;
}

QJsonObject statusJson(const StatusReport &report)
{
    QJsonObject object = boardJson(report.board);
    object.insert(u"dataDirectory"_s, report.path.cacheDataDir().toString());
    object.insert(u"database"_s, report.path.databasePath().toString());
    object.insert(u"lastScan"_s, report.lastScanTimestamp);
    return object;
}

} // namespace zel::cli
