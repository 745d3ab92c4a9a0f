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
    PathOutside,
    PathInRoot,
    PathOtherSpelling,
    PathShared,
    FetchWithoutTask,
    DataOfMissingRow,
    DataWithoutRow,
    DataYoung,
    Leftover,
    FolderUnreadable,
    StagingStale,
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
/// What helps, in words.
QString remedyText(FindingKind kind);
/// "note", "warning" or "error", in every language.
QString severityText(Severity severity);

/// One operation of the library that mends a finding. In the order in which they are done: a later
/// one relies on what the earlier ones have tidied.
struct RepairStep
{
    enum class Kind {
        OpenCache, ///< and close it, which takes the dead out; needs nothing of the rest
        EndFetch, ///< of `reference`
        FollowMove, ///< of `reference`, whose data has come to lie at `path`
        ForgetData, ///< of `reference`, which should be at `path`
        ClearMissing, ///< the data at `path`, which `reference` does not know any more
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

struct Finding
{
    FindingKind kind;
    QString subject; ///< what it concerns: a reference, a path, a process; may be empty
    QString explanation; ///< a sentence
    std::optional<RepairStep> repair; ///< empty if no operation of the library helps

    Severity severity() const { return descriptionOf(kind).severity; }
    bool isDamage() const { return severity() != Severity::Note; }
};

using Findings = QList<Finding>;

} // namespace zel::cli
