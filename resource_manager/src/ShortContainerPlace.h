#pragma once

#include "Export.h"

#include <QString>

/// Where the data of a container is put whose paths are too long for other programs: in a folder of
/// all such containers, under a short name made of the resource's reference. No row tells of it.
namespace zel::ShortContainerPlace {

/// The folder, below the data directory.
ZEL_RESOURCE_MANAGER_EXPORT QString folderIn(const QString &dataDirectory);
/// The place in it, for a reference in key form. Two references may share one.
ZEL_RESOURCE_MANAGER_EXPORT QString pathIn(const QString &dataDirectory, const QString &reference);

} // namespace zel::ShortContainerPlace
