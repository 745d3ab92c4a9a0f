#pragma once

#include "Export.h"

#include <QString>

namespace zel {

/// Forms of a path's text. The disk is not asked.
class ZEL_RESOURCE_MANAGER_EXPORT FilePathUtils
{
public:
    /// The longest path, in UTF-16 code units, that every program of a Windows machine can open.
    static constexpr int winMaxPathLength = 259;

    /// The path from the root on, without "." and "..", links left as they are. An empty path and
    /// one with the long-path prefix, which switches such interpretation off, stay as they are.
    static QString absoluteFilePath(const QString &path);
    /// Whether the path starts with "\\?\", by which a path beyond the limit can still be opened.
    static bool hasWinLongPathPrefix(const QString &path);
    /// Whether the path is longer than winMaxPathLength.
    static bool isWinLongPath(const QString &path);
};

} // namespace zel
