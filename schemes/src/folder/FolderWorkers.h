#pragma once

#include "errors/Error.h"
#include "http/HttpSession.h"

#include <functional>

namespace zel::FolderWorkers {

/// One piece of the work: of which number, over which connections, and whether to stop. Called on
/// any of the threads.
using Work = std::function<Error(size_t index, HttpSession &session,
                                 const std::function<bool()> &isCanceled)>;

/// Does `count` pieces of work in their order, as many at a time as the settings allow for one
/// server, each thread with connections of its own that it keeps. `tick` is called many times a
/// second on the calling thread, which waits until all threads have ended.
///
/// The first failure ends all other work and is the one that is returned; code 20 if canceled. Goes
/// on with fewer threads where the system gives no more; code 1 if it gives none.
Error run(size_t count, const HttpSettings &settings, const std::function<bool()> &isCanceled,
          const Work &work, const std::function<void()> &tick);

} // namespace zel::FolderWorkers
