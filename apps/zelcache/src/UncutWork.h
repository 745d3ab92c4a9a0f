#pragma once

#include "errors/Result.h"

#include <QString>

#include <functional>

namespace zel::cli {

class Output;

/// What holds the cache for its whole length, and can neither be measured nor cut short.
struct UncutWork
{
    std::function<Error()> function; ///< runs on a worker
    QString label; ///< what is shown meanwhile, with the time that has passed
    QString warning; ///< said once to who sends a signal
};

/// Goes through with the work while this thread shows it and hears signals. Gives the number of the
/// signal that came, or 0; fails as the work does. The ping rests meanwhile. Main thread only.
Result<int> goThroughWith(const UncutWork &work, Output &output);

} // namespace zel::cli
