#pragma once

#include "Export.h"

#include <QByteArray>
#include <QString>

/// The hidden names that data has beside its place while it goes or comes. Whatever is found under
/// one afterwards was left by a process that died, and nobody goes on with it. No name is drawn
/// twice. Threads: any.
namespace zel::HiddenNames {

/// A path for what lies at `path` and is to go: in the same folder, so that one rename takes it
/// away, and so that the rest goes with the folder if the process dies before the deletion.
ZEL_RESOURCE_MANAGER_EXPORT QString leftoverBeside(const QString &path);
/// What all of these names match, as a name filter of QDir.
ZEL_RESOURCE_MANAGER_EXPORT QString leftoverPattern();
/// Whether a file or folder of this name is such data on its way out.
ZEL_RESOURCE_MANAGER_EXPORT bool isLeftover(const QByteArray &name);

/// A name for a file until it is whole. Short, so that it fits wherever the final name does.
ZEL_RESOURCE_MANAGER_EXPORT QByteArray partial();
/// Whether a file of this name is such a file.
ZEL_RESOURCE_MANAGER_EXPORT bool isPartial(const QByteArray &name);

} // namespace zel::HiddenNames
