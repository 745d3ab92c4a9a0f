#pragma once

#include <QString>

namespace zel {

/// A look at a folder that costs the same however much the folder holds.
class FolderGlance
{
public:
    /// True if the first entries show at least two that everybody sees: files or folders, no links,
    /// with a name that is text and does not begin with a dot. False says nothing; then the folder
    /// has to be read.
    ///
    /// The usual ways to read a folder ask the system for a thousand entries at once, if only one
    /// of them is looked at.
    static bool showsSeveral(const QString &folder);
};

} // namespace zel
