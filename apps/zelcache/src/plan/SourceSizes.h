#pragma once

#include "ResourceHandler.h"
#include "output/Output.h"
#include "plan/FitPlan.h"

namespace zel::cli {

/// How big resources are, as their sources tell.
struct SourceSizes
{
    QList<FitPlan::Missing> missing; ///< in the order of the handlers
    int signalNumber = 0; ///< of the signal that ended it before its time, else 0
};

/// Asks the sources, as many at a time as the manager's queue has it. Nobody is waited for any more
/// once `patience` has passed without an answer; what was not answered then is of unknown size. A
/// bar on `output` shows how many have answered. No other TaskWait may live meanwhile. Main thread
/// only.
SourceSizes askForSizes(const QList<QSharedPointer<ResourceHandler>> &handlers, Output &output,
                        std::optional<std::chrono::milliseconds> patience = std::nullopt);

/// Asks the sources that have told no size whether there is anything at all, and enters those that
/// say no. What cannot be asked may be there. `sizes`: of these handlers.
void askWhatIsNowhere(const QList<QSharedPointer<ResourceHandler>> &handlers, SourceSizes &sizes);

} // namespace zel::cli
