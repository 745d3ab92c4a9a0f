#include "doctor/Finding.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Not a global text: those are built before and destroyed after everything else.
QString byRepair()
{
    return u"\"zelcache doctor --repair\" mends it."_s;
}

QList<FindingDescription> databaseDescriptions()
{
    using Kind = FindingKind;
    return {
        { Kind::DatabaseUnreadable, u"database-unreadable"_s, Severity::Error,
          u"Close all programs, move the file aside and fetch anew what is needed."_s },
        { Kind::DatabaseDamaged, u"database-damaged"_s, Severity::Error,
          u"Close all programs and let \"sqlite3 ResourceCache.db .recover\" make a new file."_s },
        { Kind::MetadataRows, u"metadata-rows"_s, Severity::Error,
          u"Close all programs and leave the first row: \"DELETE FROM CacheMetadata WHERE rowid > "
          "(SELECT MIN(rowid) FROM CacheMetadata)\"; if there is none: \"INSERT INTO CacheMetadata "
          "(currentSize) SELECT SUM(fileSize) FROM CachedResources\"."_s },
        { Kind::SumDiffers, u"sum-differs"_s, Severity::Error,
          u"Close all programs and sum up anew: \"UPDATE CacheMetadata SET currentSize = (SELECT "
          "COALESCE(SUM(fileSize), 0) FROM CachedResources)\"."_s },
        { Kind::ScanInFuture, u"scan-in-future"_s, Severity::Warning, byRepair() },
        { Kind::JournalMode, u"journal-mode"_s, Severity::Warning, byRepair() },
        { Kind::StrayRows, u"stray-rows"_s, Severity::Warning, byRepair() },
    };
}

QList<FindingDescription> rowDescriptions()
{
    using Kind = FindingKind;
    return {
        { Kind::RowWithoutData, u"row-without-data"_s, Severity::Error, byRepair() },
        { Kind::RowWithoutPath, u"row-without-path"_s, Severity::Error, byRepair() },
        { Kind::StatusUnknown, u"status-unknown"_s, Severity::Warning,
          u"A newer program may know it. Otherwise \"zelcache get\" fetches the resource anew."_s },
        { Kind::SizeDiffers, u"size-differs"_s, Severity::Warning, byRepair() },
        { Kind::PathOutside, u"path-outside"_s, Severity::Warning,
          u"\"zelcache remove\" takes the resource out of the cache, \"zelcache get\" fetches it "
          u"to "
          "its place."_s },
        { Kind::PathInRoot, u"path-in-root"_s, Severity::Warning,
          u"\"zelcache remove\" takes the resource out of the cache, \"zelcache get\" fetches it "
          u"to "
          "a folder of its own."_s },
        { Kind::PathOtherSpelling, u"path-other-spelling"_s, Severity::Warning,
          u"Let all programs use one spelling of the base directory, and fetch the resource "
          "anew."_s },
        { Kind::PathShared, u"path-shared"_s, Severity::Warning,
          u"Fetch one of the resources anew: what removes the one takes the other's data along."_s },
        { Kind::FetchWithoutTask, u"fetch-without-task"_s, Severity::Warning, byRepair() },
    };
}

QList<FindingDescription> diskDescriptions()
{
    using Kind = FindingKind;
    return {
        { Kind::DataDirectoryMissing, u"data-directory-missing"_s, Severity::Error,
          u"If its volume is not mounted, mount it. If the data is gone for good, make the "
          "directory: then \"zelcache doctor --repair\" mends the rows."_s },
        { Kind::DataOfMissingRow, u"data-of-missing-row"_s, Severity::Warning, byRepair() },
        { Kind::DataWithoutRow, u"data-without-row"_s, Severity::Warning, byRepair() },
        { Kind::DataYoung, u"data-young"_s, Severity::Note,
          u"If nobody fetches it, it can be removed once it is older."_s },
        { Kind::Leftover, u"leftover"_s, Severity::Warning, byRepair() },
        { Kind::FolderUnreadable, u"folder-unreadable"_s, Severity::Warning,
          u"Give yourself the right to read it, or run the program as its owner."_s },
        { Kind::StagingStale, u"staging-stale"_s, Severity::Warning, byRepair() },
    };
}

QList<FindingDescription> clientDescriptions()
{
    using Kind = FindingKind;
    return {
        { Kind::ClientDead, u"client-dead"_s, Severity::Warning, byRepair() },
        { Kind::ClientReused, u"client-reused"_s, Severity::Warning,
          u"\"zelcache doctor --repair\" mends it once the client has been silent for 30 s."_s },
        { Kind::ClientSilent, u"client-silent"_s, Severity::Warning,
          u"Let the process go on if it is stopped, or end it."_s },
    };
}

QList<FindingDescription> placeDescriptions()
{
    using Kind = FindingKind;
    return {
        { Kind::NetworkFileSystem, u"network-file-system"_s, Severity::Warning,
          u"Put the cache on a local disk: \"zelcache config set CacheLocationPath DIR\"."_s },
        { Kind::MaximumAbovePartition, u"maximum-above-partition"_s, Severity::Warning,
          u"Set a smaller one: \"zelcache config set MaximumCacheSize SIZE\"."_s },
        { Kind::SizesReversed, u"sizes-reversed"_s, Severity::Warning,
          u"Set one of them: \"zelcache config set OptimalCacheSize SIZE\"."_s },
        { Kind::TwoSpellings, u"two-spellings"_s, Severity::Warning,
          u"Let all programs use one spelling of the base directory. When none of the others runs, "
          "the other lock's file can be removed."_s },
        { Kind::BaseIsLinked, u"base-is-linked"_s, Severity::Note,
          u"Let all programs name the base directory in this way."_s },
    };
}

QList<FindingDescription> lockDescriptions()
{
    using Kind = FindingKind;
    return {
        { Kind::LockHeld, u"lock-held"_s, Severity::Note,
          u"It is given back when the operation is done, or when its process ends."_s },
        { Kind::LockStuck, u"lock-stuck"_s, Severity::Error,
          u"Close all programs and remove the semaphore: \"ipcs -s\" shows it, \"ipcrm -s\" "
          "removes it."_s },
        { Kind::LockValue, u"lock-value"_s, Severity::Error,
          u"Close all programs and remove the semaphore: \"ipcs -s\" shows it, \"ipcrm -s\" "
          "removes it."_s },
        { Kind::LockRefused, u"lock-refused"_s, Severity::Warning,
          u"Let one user own the cache, or let each have a temporary folder of his own."_s },
        { Kind::LockBeside, u"lock-beside"_s, Severity::Warning,
          u"Let all programs have the same temporary folder (TMPDIR) and the same owner."_s },
        { Kind::LockOtherTemp, u"lock-other-temp"_s, Severity::Warning,
          u"Start all programs with the same temporary folder (TMPDIR)."_s },
        { Kind::LockOtherUser, u"lock-other-user"_s, Severity::Warning,
          u"Give each user a cache of his own."_s },
    };
}

} // namespace

const QList<FindingDescription> &allFindingDescriptions()
{
    static const QList<FindingDescription> descriptions = databaseDescriptions() + rowDescriptions()
        + diskDescriptions() + clientDescriptions() + placeDescriptions() + lockDescriptions();
    return descriptions;
}

const FindingDescription &descriptionOf(FindingKind kind)
{
    const QList<FindingDescription> &all = allFindingDescriptions();
    qsizetype index = 0;
    while (index + 1 < all.size() && all.at(index).kind != kind)
        ++index;
    return all.at(index);
}

QString severityText(Severity severity)
{
    switch (severity) {
    case Severity::Note:
        return u"note"_s;
    case Severity::Warning:
        return u"warning"_s;
    case Severity::Error:
        break;
    }
    return u"error"_s;
}

} // namespace zel::cli
