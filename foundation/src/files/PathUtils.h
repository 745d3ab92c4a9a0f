#pragma once

#include "Export.h"

#include <QString>

/// Questions about one path. All of them follow links, as opening the path would.
namespace zel::PathUtils {

/// Whether the text behind the last dot of the path's last component is `extension`, ignoring case.
/// The extension may be given with or without its dot. Text only, the disk is not asked; redundant
/// separators are dropped first, so "x.d/" has the extension "d". A name without a dot has none,
/// and no path has an empty extension.
ZEL_RESOURCE_MANAGER_EXPORT bool hasExtension(const QString &path, const QString &extension);

/// Whether the path leads to a directory.
ZEL_RESOURCE_MANAGER_EXPORT bool isDirectory(const QString &path);
/// The same as isDirectory(): a directory that does not exist is none.
ZEL_RESOURCE_MANAGER_EXPORT bool isExistingDir(const QString &path);
/// Whether the path leads to a file. A directory is none.
ZEL_RESOURCE_MANAGER_EXPORT bool isExistingFile(const QString &path);

} // namespace zel::PathUtils
