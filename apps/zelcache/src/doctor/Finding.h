#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>
#include <span>

namespace zel::cli {

/// A note is something to know of; the others are damages. An error makes programs fail or decide
/// wrongly, a warning wastes room or endangers.
enum class Severity { Note, Warning, Error };

/// What there can be to find. Each has an id that never changes its meaning.
enum class FindingKind {
    DatabaseUnreadable,
    DatabaseDamaged,
    MetadataRows,
    SumDiffers,
    DataDirectoryMissing,
    RowWithoutData,
    RowWithoutPath,
    StatusUnknown,
    SizeDiffers,
    PathMoved,
    DataAside,
    PathOutside,
    PathInRoot,
    PathOtherSpelling,
    PathShared,
    FetchWithoutTask,
    DataOfMissingRow,
    SizeOfMissingRow,
    DataWithoutRow,
    DataYoung,
    Leftover,
    FolderUnreadable,
    StagingStale,
    ManifestBroken,
    ClientDead,
    ClientReused,
    ClientSilent,
    StrayRows,
    ScanInFuture,
    JournalMode,
    NetworkFileSystem,
    MaximumAbovePartition,
    SizesReversed,
    TwoSpellings,
    BaseIsLinked,
    LockHeld,
    LockStuck,
    LockValue,
    LockRefused,
    LockBeside,
    LockOtherTemp,
    LockOtherUser,
};

/// What all findings of a kind have in common.
struct FindingDescription
{
    FindingKind kind;
    QStringView id; ///< as in "row-without-data"
    Severity severity;
    const char *remedy; ///< what helps, in English; see remedyText()
};

std::span<const FindingDescription> allFindingDescriptions();
const FindingDescription &descriptionOf(FindingKind kind);
/// "note", "warning" or "error", in every language.
QString severityText(Severity severity);

/// One operation of the library that mends a finding. In the order in which they are done: a later
/// one relies on what the earlier ones have tidied.
struct RepairStep
{
    enum class Kind {
        OpenCache, ///< and close it, which takes the dead out; needs nothing of the rest
        EndFetch, ///< of `reference`
        PutBack, ///< the data of `reference`, which a repair has moved aside to `path`
        FollowMove, ///< of `reference`, whose data has come to lie at `path`
        ForgetData, ///< of `reference`, which should be at `path`
        ClearMissing, ///< the data at `path`, and path and size of `reference`, which is Missing
        ForgetSize, ///< and path of `reference`, which is Missing
        CountSize, ///< of `reference`
        CountAll,
        SumUp, ///< the sizes that are stored, in the one row of sums
        CleanStaging,
        RemoveData, ///< at `path`, which nobody claims
    };

    Kind kind;
    QString reference;
    QString path;

    friend bool operator==(const RepairStep &left, const RepairStep &right)
    {
        return left.kind == right.kind && left.reference == right.reference
            && left.path == right.path;
    }
};

/// One thing that is not as it should be, or good to know.
struct Finding
{
    FindingKind kind;
    QString subject; ///< what it concerns: a reference, a path, a process; may be empty
    QString explanation; ///< a sentence
    std::optional<RepairStep> repair; ///< empty if no operation of the library helps
    const char *remedy = nullptr; ///< in English, instead of that of its kind
    std::optional<RepairStep> consequence {}; ///< what is to be done once it is repaired

    Severity severity() const { return descriptionOf(kind).severity; }
    bool isDamage() const { return severity() != Severity::Note; }
};

using Findings = QList<Finding>;

/// What helps, in words. It never sends anybody to a repair that will not be done.
QString remedyText(const Finding &finding);
/// Some damages forbid all repairs: then none is offered for the others.
void withdrawForbiddenRepairs(Findings &findings);

/// Of data that is not what its manifest says, or is less than there was and has no manifest.
extern const char *const remedyOfDamagedData;
extern const char *const remedyOfLessData;

/// Of a database without tables, which nobody may take for an empty cache.
extern const char *const remedyWithoutTables;

} // namespace zel::cli
