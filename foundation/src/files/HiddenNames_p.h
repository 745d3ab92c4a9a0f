#pragma once

#include "files/HiddenNames.h"

#include <QString>

namespace zel::HiddenNames {

/// A path for what lies at `path` and is to go: in the same folder, so that one rename takes it
/// away, and so that the rest goes with the folder if the process dies before the deletion.
QString leftoverBeside(const QString &path);
/// What all of these names match, as a name filter of QDir.
QString leftoverPattern();

/// A name for a file until it is whole. Short, so that it fits wherever the final name does.
QByteArray partial();

} // namespace zel::HiddenNames
