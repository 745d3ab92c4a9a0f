#include "doctor/Checks.h"

#include "output/Format.h"

#include <QCoreApplication>

#include <algorithm>

namespace zel::cli::checks {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::DiskChecks)
};

using Reader = ResourceCacheReader;

qsizetype readyCount(const Reader::Snapshot &snapshot)
{
    return std::count_if(
        snapshot.resources.begin(), snapshot.resources.end(),
        [](const auto &resource) { return resource.status == ResourceStatus::Ready; });
}

QString readyWithoutDirectoryText(qsizetype ready)
{
    return ready == 1 ? Texts::tr("The data directory cannot be read, but 1 resource is Ready.")
                      : Texts::tr("The data directory cannot be read, but %n resources are Ready.",
                                  nullptr, int(ready));
}

void addData(const Examination &all, FindingKind kind, const TreeSurvey::Entry &entry,
             Findings &findings)
{
    const QString path = all.data.places().pathTo(entry.path);
    if (all.mayBeClaimed(entry)) {
        const QString text = all.isOfStagedFetch(entry)
            ? Texts::tr("No row claims it, but a program that lives fetches to its folder.")
            : Texts::tr("No row claims it, but it is so new that a program may be about to.");
        findings.append({ FindingKind::DataYoung, path, text, {} });
        return;
    }
    const QString text = kind == FindingKind::Leftover
        ? Texts::tr("A removal, a copy or a fetch that was interrupted has left it: %1.")
        : Texts::tr("No row claims it: %1.");
    Finding finding { kind, path, text.arg(sizeText(entry.bytes)), {} };
    // A file without tables is none that could claim anything: the former one may come back.
    if (all.condition.metadataRows > 0)
        finding.repair = RepairStep { RepairStep::Kind::RemoveData, {}, path };
    else
        finding.remedy = remedyWithoutTables;
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
        if (place.isInUse() || !place.isStale(isReady, QDateTime::fromMSecsSinceEpoch(all.now)))
            continue;
        const QString what = place.record ? place.record->displayText : Texts::tr("a fetch");
        findings.append(
            { FindingKind::StagingStale, place.folder,
              Texts::tr("It was collected for %1, and nobody will go on with it.").arg(what),
              RepairStep { RepairStep::Kind::CleanStaging, {}, {} } });
    }
}

} // namespace

void disk(const Examination &all, Findings &findings)
{
    const qsizetype ready = readyCount(all.snapshot);
    if (!all.data.exists() && ready > 0) {
        findings.append({ FindingKind::DataDirectoryMissing,
                          all.settings.cachePath.cacheDataDir(),
                          readyWithoutDirectoryText(ready),
                          {} });
    }
    for (const QByteArray &folder : all.data.unreadable()) {
        findings.append(
            { FindingKind::FolderUnreadable,
              all.data.places().pathTo(folder),
              Texts::tr("The folder cannot be read, so what is in it was not looked at."),
              {} });
    }
    for (const TreeSurvey::Entry &entry : all.data.unclaimed())
        addData(all, FindingKind::DataWithoutRow, entry, findings);
    for (const TreeSurvey::Entry &entry : all.data.leftovers())
        addData(all, FindingKind::Leftover, entry, findings);
    checkStaging(all, findings);
    const auto &failures = all.manifestFailures;
    for (auto failure = failures.begin(); failure != failures.end(); ++failure) {
        findings.append(
            { FindingKind::ManifestBroken, failure.key(), failure.value().errorMessage(), {} });
    }
}

} // namespace zel::cli::checks
