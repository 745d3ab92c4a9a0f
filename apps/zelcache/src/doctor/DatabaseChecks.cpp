#include "doctor/Checks.h"

#include "output/Format.h"
#include "removal/PurgePlan.h"

#include <QCoreApplication>

namespace zel::cli::checks {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::DatabaseChecks)
};

void checkSum(const Examination &all, Findings &findings)
{
    const qint64 sum = sizeOfAll(all.snapshot.resources);
    if (all.condition.metadataRows == 0 || sum == all.snapshot.currentSize)
        return;
    findings.append(
        { FindingKind::SumDiffers,
          {},
          Texts::tr("The cache counts %1 bytes, its resources have %2 in all. It removes too much "
                    "or too little.")
              .arg(all.snapshot.currentSize)
              .arg(sum),
          RepairStep { RepairStep::Kind::SumUp, {}, {} } });
}

void checkMetadataRows(const Examination &all, Findings &findings)
{
    const qint64 rows = all.condition.metadataRows;
    // A file that was never quite made has no rows of anything.
    const bool isNew = rows == 0 && all.snapshot.resources.isEmpty();
    if (rows == 1 || isNew)
        return;
    findings.append({ FindingKind::MetadataRows,
                      {},
                      Texts::tr("CacheMetadata has %1 rows instead of one.").arg(rows),
                      RepairStep { RepairStep::Kind::SumUp, {}, {} } });
}

} // namespace

void database(const Examination &all, Findings &findings)
{
    const QString file = all.settings.cachePath.databasePath();
    if (all.databaseFailure.hasError()) {
        findings.append(
            { FindingKind::DatabaseUnreadable, file, all.databaseFailure.errorMessage(), {} });
        return;
    }
    for (const QString &damage : all.condition.damages)
        findings.append({ FindingKind::DatabaseDamaged, file, damage, {} });
    checkMetadataRows(all, findings);
    checkSum(all, findings);
    if (all.condition.journalMode != u"wal" && all.condition.metadataRows > 0) {
        findings.append(
            { FindingKind::JournalMode, file,
              Texts::tr("Its journal mode is \"%1\" instead of \"wal\"; each write waits for the "
                        "disk.")
                  .arg(all.condition.journalMode),
              RepairStep { RepairStep::Kind::OpenCache, {}, {} } });
    }
    constexpr qint64 clockTolerance = 60; // seconds
    if (all.snapshot.lastScanTimestamp > all.now / 1000 + clockTolerance) {
        findings.append(
            { FindingKind::ScanInFuture,
              {},
              Texts::tr("The sizes were last counted in the future, at %1; until then they are not "
                        "counted again.")
                  .arg(timeText(all.snapshot.lastScanTimestamp * 1000)),
              RepairStep { RepairStep::Kind::CountAll, {}, {} } });
    }
}

} // namespace zel::cli::checks
