#include "doctor/Checks.h"

#include "Format.h"

#include <algorithm>

namespace zel::cli::checks {

using namespace Qt::Literals::StringLiterals;

namespace {

using Reader = ResourceCacheReader;

qsizetype readyCount(const Reader::Snapshot &snapshot)
{
    return std::count_if(
        snapshot.resources.begin(), snapshot.resources.end(),
        [](const auto &resource) { return resource.status == ResourceStatus::Ready; });
}

void addData(const Examination &all, FindingKind kind, const TreeSurvey::Entry &entry,
             Findings &findings)
{
    const QString path = all.data.places().pathTo(entry.path);
    if (all.mayBeClaimed(entry)) {
        findings.append({ FindingKind::DataYoung,
                          path,
                          u"No row claims it, but it is so new that a program may be about to."_s,
                          {} });
        return;
    }
    const QString text = kind == FindingKind::Leftover
        ? u"A removal or a copy that was interrupted has left it: %1."_s
        : u"No row claims it: %1."_s;
    Finding finding { kind, path, text.arg(sizeText(entry.bytes)), {} };
    // A file without tables is none that could claim anything: the former one may come back.
    if (all.condition.metadataRows > 0)
        finding.repair = RepairStep { RepairStep::Kind::RemoveData, {}, path };
    findings.append(finding);
}

void checkStaging(const Examination &all, Findings &findings)
{
    if (all.staging.isEmpty())
        return;
    QSet<QString> ready;
    for (const Reader::Resource &resource : all.snapshot.resources) {
        if (resource.status == ResourceStatus::Ready)
            ready.insert(resource.reference);
    }
    const auto isReady = [&ready](const QString &key) {
        return ready.contains(key);
    };
    for (const StagingPlace &place : all.staging) {
        const bool isInUse = place.record && place.record->isBeingWritten();
        if (isInUse || !place.isStale(isReady, QDateTime::fromMSecsSinceEpoch(all.now)))
            continue;
        const QString what = place.record ? place.record->displayText : u"a fetch"_s;
        findings.append({ FindingKind::StagingStale, place.folder,
                          u"It was collected for %1, and nobody will go on with it."_s.arg(what),
                          RepairStep { RepairStep::Kind::CleanStaging, {}, {} } });
    }
}

} // namespace

void disk(const Examination &all, Findings &findings)
{
    const qsizetype ready = readyCount(all.snapshot);
    if (!all.data.exists() && ready > 0) {
        findings.append(
            { FindingKind::DataDirectoryMissing,
              all.settings.cachePath.cacheDataDir(),
              u"The data directory cannot be read, but %1 resources are Ready."_s.arg(ready),
              {} });
    }
    for (const QByteArray &folder : all.data.unreadable()) {
        findings.append({ FindingKind::FolderUnreadable,
                          all.data.places().pathTo(folder),
                          u"The folder cannot be read, so what is in it was not looked at."_s,
                          {} });
    }
    for (const TreeSurvey::Entry &entry : all.data.unclaimed())
        addData(all, FindingKind::DataWithoutRow, entry, findings);
    for (const TreeSurvey::Entry &entry : all.data.leftovers())
        addData(all, FindingKind::Leftover, entry, findings);
    checkStaging(all, findings);
}

} // namespace zel::cli::checks
