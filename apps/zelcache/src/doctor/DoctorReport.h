#pragma once

#include "ExitCode.h"
#include "doctor/Repair.h"

#include <QJsonObject>
#include <QStringList>

namespace zel::cli {

/// Like those of the programs that check file systems.
namespace DoctorExit {
inline constexpr ExitCode clean = ExitCode(0);
inline constexpr ExitCode repaired = ExitCode(1); ///< there were damages, and all are mended
inline constexpr ExitCode left = ExitCode(4); ///< there are damages
} // namespace DoctorExit

/// What an examination has found, and what a repair has done about it.
struct DoctorReport
{
    /// One repair may bring to light what another one mends: so many plans it makes at most, each
    /// after a look of its own.
    static constexpr int mostPlans = 3;

    Findings findings;
    RepairPlan plan; ///< what a repair does, whether it is done or not
    bool isDryRun = false;
    /// Empty if nothing was to be repaired, or only in a rehearsal.
    std::optional<QList<RepairOutcome>> repairs;
    /// A signal came while it was repaired: what is left was not looked at.
    bool isInterrupted = false;
    Findings left; ///< what a second look found after the repair

    bool hasTried(const RepairStep &step) const;
};

ExitCode exitCodeOf(const DoctorReport &report);

/// Without the notes.
Findings damagesOf(const Findings &findings);

/// A few lines for each finding; of many of one kind the first ones, and how many more there are.
QStringList findingLines(const Findings &findings);
/// `furtherPlans`: so many may follow once it is done.
QStringList planLines(const RepairPlan &plan, int furtherPlans);
/// The last line: how it stands.
QString verdictText(const DoctorReport &report);

QJsonObject doctorJson(const DoctorReport &report);

} // namespace zel::cli
