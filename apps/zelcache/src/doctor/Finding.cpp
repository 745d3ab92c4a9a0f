#include "doctor/Finding.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::Finding)
};

using Kind = FindingKind;

constexpr auto note = Severity::Note;
constexpr auto warning = Severity::Warning;
constexpr auto error = Severity::Error;

// Marked here, and translated where they are told: there is no language yet.
constexpr auto byRepair
    = QT_TRANSLATE_NOOP("zel::cli::Finding", "\"zelcache doctor --repair\" mends it.");

constexpr auto notNow = QT_TRANSLATE_NOOP(
    "zel::cli::Finding", "A repair leaves it alone as things are now; look again later.");

constexpr auto afterTheSizes = QT_TRANSLATE_NOOP(
    "zel::cli::Finding",
    "To count all sizes would hide that data is damaged. Mend that first; then \"zelcache doctor "
    "--repair\" mends this.");

constexpr auto afterTheOthers = QT_TRANSLATE_NOOP(
    "zel::cli::Finding",
    "Nothing is repaired as long as the database is damaged or the lock is stuck. Mend that first; "
    "then \"zelcache doctor --repair\" mends this.");

// Not "zelcache remove": the cache removes the folder around a resource.
constexpr auto moveIt = QT_TRANSLATE_NOOP(
    "zel::cli::Finding",
    "Move what lies there out of the way. Then \"zelcache doctor --repair\" forgets it, and "
    "\"zelcache get\" fetches the resource to its place. Do not remove the resource before.");

constexpr std::array descriptions {
    FindingDescription {
        Kind::DatabaseUnreadable, u"database-unreadable", error,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "Close all programs, move the file aside, with its -wal and -shm if there are any, and "
            "fetch anew what is needed.") },
    FindingDescription {
        Kind::DatabaseDamaged, u"database-damaged", error,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "Close all programs. Some builds of sqlite3 can save much: \"sqlite3 ResourceCache.db "
            ".recover\" prints it for a new file. Otherwise move the file aside, with its -wal and "
            "-shm if there are any, and fetch anew what is needed.") },
    FindingDescription { Kind::MetadataRows, u"metadata-rows", error, byRepair },
    FindingDescription { Kind::SumDiffers, u"sum-differs", error, byRepair },
    FindingDescription { Kind::ScanInFuture, u"scan-in-future", warning, byRepair },
    FindingDescription { Kind::JournalMode, u"journal-mode", warning, byRepair },
    FindingDescription { Kind::StrayRows, u"stray-rows", warning, byRepair },
    FindingDescription { Kind::RowWithoutData, u"row-without-data", error, byRepair },
    FindingDescription { Kind::RowWithoutPath, u"row-without-path", error, byRepair },
    FindingDescription {
        Kind::StatusUnknown, u"status-unknown", warning,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "A newer program may know it. Otherwise \"zelcache remove --force REF\" removes it, "
            "and \"zelcache get REF\" fetches it anew.") },
    FindingDescription { Kind::SizeDiffers, u"size-differs", warning, byRepair },
    FindingDescription { Kind::PathMoved, u"path-moved", error, byRepair },
    FindingDescription { Kind::DataAside, u"data-aside", error, byRepair },
    FindingDescription { Kind::PathOutside, u"path-outside", error, moveIt },
    FindingDescription { Kind::PathInRoot, u"path-in-root", error, moveIt },
    FindingDescription { Kind::PathOtherSpelling, u"path-other-spelling", warning,
                         QT_TRANSLATE_NOOP("zel::cli::Finding",
                                           "Let all programs use one spelling of the base "
                                           "directory. Then \"zelcache remove REF\" and \"zelcache "
                                           "get REF\" fetch the resource anew.") },
    FindingDescription {
        Kind::PathShared, u"path-shared", warning,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "What removes the one takes the other's data along: \"zelcache doctor --repair\" mends "
            "its row then, and \"zelcache get\" fetches both anew.") },
    FindingDescription { Kind::FetchWithoutTask, u"fetch-without-task", warning, byRepair },
    FindingDescription {
        Kind::DataDirectoryMissing, u"data-directory-missing", error,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "If its volume is not mounted, mount it. If the data is gone for good, "
            "make the directory: then \"zelcache doctor --repair\" mends the rows.") },
    FindingDescription { Kind::DataOfMissingRow, u"data-of-missing-row", warning, byRepair },
    FindingDescription { Kind::SizeOfMissingRow, u"size-of-missing-row", error, byRepair },
    FindingDescription { Kind::DataWithoutRow, u"data-without-row", warning, byRepair },
    FindingDescription {
        Kind::DataYoung, u"data-young", note,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "If nobody fetches it, it can be removed once it is older.") },
    FindingDescription { Kind::Leftover, u"leftover", warning, byRepair },
    FindingDescription {
        Kind::FolderUnreadable, u"folder-unreadable", warning,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Give yourself the right to read it, or run the program as its owner.") },
    FindingDescription { Kind::StagingStale, u"staging-stale", warning, byRepair },
    FindingDescription { Kind::ManifestBroken, u"manifest-broken", warning,
                         QT_TRANSLATE_NOOP("zel::cli::Finding",
                                           "A newer program may have written it. Otherwise remove "
                                           "it: its resource can be verified "
                                           "again once it is fetched anew.") },
    FindingDescription { Kind::ClientDead, u"client-dead", warning, byRepair },
    FindingDescription {
        Kind::ClientReused, u"client-reused", warning,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "\"zelcache doctor --repair\" mends it once the client has been silent for 30 s.") },
    FindingDescription { Kind::ClientSilent, u"client-silent", warning,
                         QT_TRANSLATE_NOOP("zel::cli::Finding",
                                           "Let the process go on if it is stopped, or end it.") },
    FindingDescription {
        Kind::NetworkFileSystem, u"network-file-system", warning,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "Put the cache on a local disk: \"zelcache config set CacheLocationPath DIR\".") },
    FindingDescription {
        Kind::MaximumAbovePartition, u"maximum-above-partition", warning,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Set a smaller one: \"zelcache config set MaximumCacheSize SIZE\".") },
    FindingDescription {
        Kind::SizesReversed, u"sizes-reversed", warning,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Set one of them: \"zelcache config set OptimalCacheSize SIZE\".") },
    FindingDescription {
        Kind::TwoSpellings, u"two-spellings", warning,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Let all programs use one spelling of the base directory. When none of "
                          "the others runs, the other lock's file can be removed.") },
    FindingDescription {
        Kind::BaseIsLinked, u"base-is-linked", note,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Let all programs name the base directory in this way.") },
    FindingDescription {
        Kind::LockHeld, u"lock-held", note,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "It is given back when the operation is done, or when its process ends.") },
    FindingDescription {
        Kind::LockStuck, u"lock-stuck", error,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Close all programs and remove the semaphore: \"ipcs -s\" shows it, "
                          "\"ipcrm -s\" removes it.") },
    FindingDescription {
        Kind::LockValue, u"lock-value", error,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Close all programs and remove the semaphore: \"ipcs -s\" shows it, "
                          "\"ipcrm -s\" removes it.") },
    FindingDescription {
        Kind::LockRefused, u"lock-refused", warning,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "Let one user own the cache, or let each have a temporary folder of his own.") },
    FindingDescription {
        Kind::LockBeside, u"lock-beside", warning,
        QT_TRANSLATE_NOOP(
            "zel::cli::Finding",
            "Let all programs have the same temporary folder (TMPDIR) and the same owner.") },
    FindingDescription {
        Kind::LockOtherTemp, u"lock-other-temp", warning,
        QT_TRANSLATE_NOOP("zel::cli::Finding",
                          "Start all programs with the same temporary folder (TMPDIR).") },
    FindingDescription {
        Kind::LockOtherUser, u"lock-other-user", warning,
        QT_TRANSLATE_NOOP("zel::cli::Finding", "Give each user a cache of his own.") },
};

bool forbidsRepair(const Finding &finding)
{
    return finding.kind == Kind::DatabaseUnreadable || finding.kind == Kind::DatabaseDamaged
        || finding.kind == Kind::LockStuck;
}

bool isDamagedData(const Finding &finding)
{
    return finding.kind == Kind::SizeDiffers && !finding.repair;
}

bool countsAll(const Finding &finding)
{
    return finding.repair && finding.repair->kind == RepairStep::Kind::CountAll;
}

/// Its remedy says why.
void withdraw(Finding &finding, const char *remedy)
{
    if (finding.repair)
        finding.remedy = remedy;
    finding.repair.reset();
    finding.consequence.reset();
}

} // namespace

std::span<const FindingDescription> allFindingDescriptions()
{
    return descriptions;
}

const FindingDescription &descriptionOf(FindingKind kind)
{
    const auto *found = std::find_if(
        descriptions.begin(), descriptions.end() - 1,
        [kind](const FindingDescription &description) { return description.kind == kind; });
    return *found;
}

const char *const remedyOfDamagedData
    = QT_TRANSLATE_NOOP("zel::cli::Finding",
                        "\"zelcache verify REF\" tells what is damaged. \"zelcache remove REF\" "
                        "and \"zelcache get REF\" "
                        "fetch it anew.");

const char *const remedyOfLessData
    = QT_TRANSLATE_NOOP("zel::cli::Finding",
                        "It may be cut off: \"zelcache remove REF\" and \"zelcache get REF\" fetch "
                        "it anew. If it is as "
                        "it should be, \"zelcache recount REF\" counts it anew.");

const char *const remedyWithoutTables = QT_TRANSLATE_NOOP(
    "zel::cli::Finding",
    "The database has no tables. If it was lost, put it back. If it is to be empty, open the cache "
    "once, as \"zelcache get\" does: then \"zelcache doctor --repair\" removes it.");

QString remedyText(const Finding &finding)
{
    const char *remedy = descriptionOf(finding.kind).remedy;
    if (finding.remedy)
        remedy = finding.remedy;
    else if (remedy == byRepair && !finding.repair)
        remedy = notNow;
    return Texts::tr(remedy);
}

void withdrawForbiddenRepairs(Findings &findings)
{
    const bool areForbidden = std::any_of(findings.begin(), findings.end(), forbidsRepair);
    const bool hidesDamage = std::any_of(findings.begin(), findings.end(), isDamagedData);
    for (Finding &finding : findings) {
        if (areForbidden)
            withdraw(finding, afterTheOthers);
        else if (hidesDamage && countsAll(finding))
            withdraw(finding, afterTheSizes);
    }
}

QString severityText(Severity severity)
{
    static constexpr std::array<QStringView, 3> names { u"note", u"warning", u"error" };
    return names.at(std::size_t(severity)).toString();
}

} // namespace zel::cli
