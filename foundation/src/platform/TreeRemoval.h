#pragma once

#include "errors/Error.h"

#include <QCoreApplication>

namespace zel {

/// Removes files and folders, whatever their names are made of.
class ZEL_RESOURCE_MANAGER_EXPORT TreeRemoval
{
    Q_DECLARE_TR_FUNCTIONS(zel::TreeRemoval)

public:
    /// Removes the file, link or whole folder at this path. A link goes, what it leads to stays,
    /// for the path itself as well as inside. Folders of the tree without write permission are made
    /// writable on the way; the folder around the path is left as it is.
    ///
    /// Goes on after a failure, so that as much as possible is gone, and then returns code 1 with
    /// the first name that could not be removed. A missing path is a success. Code 2 for a path
    /// that is empty or that ends in "." or "..", and for the root.
    static Error remove(const QString &path);
};

} // namespace zel
