#pragma once

#include "doctor/Examination.h"
#include "doctor/Finding.h"

#include "errors/Error.h"

#include <functional>

namespace zel {
class ResourceCache;
}

namespace zel::cli {

using RepairPlan = QList<RepairStep>;

/// Each step once, in the order in which they are done. Empty if the database is damaged or the
/// lock does not come free: then nothing may be touched.
RepairPlan planOf(const Findings &findings);

/// What came of a step.
struct RepairOutcome
{
    RepairStep step;
    Error failure;
};

/// What a step does, for people.
QString stepText(const RepairStep &step);

/// Does the steps on an open cache. Every one looks again, under the cache's own rules, whether
/// there is still something to mend; what others do meanwhile counts. Nothing that a row or a
/// process claims is removed.
class Repair
{
public:
    /// Asked before each step and each removal; true ends the repair with all data at its place.
    using IsInterrupted = std::function<bool()>;

    /// Borrows the cache. OpenCache is done by whoever has opened it.
    Repair(ResourceCache *cache, const ResourceManagerSettings &settings,
           std::chrono::milliseconds minimumAge, IsInterrupted isInterrupted);

    /// Waits for the cache's lock where it has to. Gives an outcome for each step that was begun.
    QList<RepairOutcome> run(const RepairPlan &plan);

private:
    Error run(const RepairStep &step);
    Error insteadOfAFetch(const RepairStep &step, const std::function<Error()> &change);
    Error endFetch(const RepairStep &step);
    static Error putBack(const RepairStep &step);
    Error followMove(const RepairStep &step);
    Error forgetData(const RepairStep &step);
    Error clearMissing(const RepairStep &step);
    Error forgetSize(const RepairStep &step);
    void cleanStaging();

    ResourceCache *cache;
    ResourceManagerSettings settings;
    std::chrono::milliseconds minimumAge;
    IsInterrupted isInterrupted;
};

} // namespace zel::cli
