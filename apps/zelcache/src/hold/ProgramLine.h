#pragma once

#include <QStringList>

namespace zel::cli {

/// The line of a program with the paths put in: an argument in which "{}" stands is repeated for
/// each path, with the path in the place of every "{}". The name of the program stays as it is.
QStringList withPaths(const QStringList &programLine, const QStringList &paths);

/// What the program finds in ZELCACHE_PATHS: a path a line.
QString pathsVariable(const QStringList &paths);

} // namespace zel::cli
