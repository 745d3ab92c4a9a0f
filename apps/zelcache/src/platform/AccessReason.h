#pragma once

#include "errors/Error.h"

#include <QString>

namespace zel::cli {

/// Why the system does not let this program read what lies there: the path and the system's own
/// words. Empty if it does let it.
QString whyUnreadable(const QString &path);

/// The same for files that are to be made or changed in a folder. Of one that is not there yet, the
/// nearest folder around it that is.
QString whyUnwritable(const QString &folder);

/// Why what lies there is no file. Empty if nothing is there, too.
QString whyNoFile(const QString &path);

/// Why the system does not run it as a program, in its words.
QString whyNotExecutable(const QString &path);

/// The failure with a reason as a line of its own behind its message; as it is for an empty one.
Error withReason(const Error &failure, const QString &reason);

} // namespace zel::cli
