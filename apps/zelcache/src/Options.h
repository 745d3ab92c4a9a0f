#pragma once

#include <QString>

namespace zel::cli {

/// What can be said of every command.
struct Options
{
    QString cacheDir; ///< another base directory; empty for the one of the settings
    QString traceFile; ///< where spans are written; empty for nowhere
    bool json = false;
    bool nullTerminated = false; ///< lines of the answer and of lists end with NUL
    bool quiet = false;
    int verbosity = 0; ///< 1 tells what is done, 2 shows the library's debug log as well
    bool noProgress = false;
    bool prompt = false; ///< ask before anything is fetched
    bool yes = false; ///< the answer to every prompt
};

} // namespace zel::cli
