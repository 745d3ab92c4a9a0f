#pragma once

#include "Export.h"
#include "errors/Result.h"

#include <functional>
#include <thread>

namespace zel::Threads {

/// Runs the work on a new thread, which the caller joins. Code 1 if the system gives no thread, as
/// where a limit of processes or of memory is reached; the work has not run then, nor will it.
ZEL_RESOURCE_MANAGER_EXPORT Result<std::thread> start(std::function<void()> work);

} // namespace zel::Threads
