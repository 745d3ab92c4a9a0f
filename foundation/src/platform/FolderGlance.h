#pragma once

#include <QByteArrayView>
#include <QString>

#include <initializer_list>

namespace zel {

/// A look at a folder's names that is much cheaper than a listing.
class FolderGlance
{
public:
    /// True if the first entries show at least two that everybody sees: files or folders, no links,
    /// with a name that is text and does not begin with a dot. False says nothing; then the folder
    /// has to be read. Costs the same however much the folder holds.
    ///
    /// The usual ways to read a folder ask the system for a thousand entries at once, if only one
    /// of them is looked at.
    static bool showsSeveral(const QString &folder);

    /// Whether a name in the folder ends with one of these bytes, the case of ASCII letters aside.
    /// Reads each name once and looks at nothing else. False if the folder cannot be read.
    static bool holdsEnding(const QString &folder, std::initializer_list<QByteArrayView> endings);
};

} // namespace zel
