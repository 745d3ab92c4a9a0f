#pragma once

#include "errors/Error.h"

#include <QString>

#include <functional>

namespace zel {
class Task;
}

namespace zel::cli {

class Output;

/// Runs an asynchronous task that holds the cache, and calls `onTick` several times a second with
/// the number of the signal that came, or 0; a signal cancels the task. Gives that number at the
/// end. The ping rests meanwhile. Main thread only.
int runHoldingCache(Task *task, Output &output, const std::function<void(int)> &onTick);

/// What holds the cache for its whole length, and can neither be measured nor cut short.
struct UncutWork
{
    std::function<Error()> function; ///< runs on a worker
    QString label; ///< what is shown meanwhile, with the time that has passed
    QString warning; ///< said once to who sends a signal
};

/// Goes through with the work while this thread shows it and hears signals, of which a watch of the
/// caller's tells afterwards. Main thread only.
Error goThroughWith(const UncutWork &work, Output &output);

} // namespace zel::cli
