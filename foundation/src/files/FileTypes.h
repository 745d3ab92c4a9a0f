#pragma once

#include "Export.h"
#include "values/ExtendableEnum.h"

#include <QStringList>

namespace zel {

/// Kinds of files and folders, told by the ends of their names. A program adds one by making an
/// ExtendableEnum<FileTypes::FileTypeData> with a name of its own.
class ZEL_RESOURCE_MANAGER_EXPORT FileTypes
{
public:
    /// What makes a kind.
    struct FileTypeData
    {
        QStringList extensions; ///< without the dot before them; one may have dots inside
    };

    /// Whether the path's last component ends in a dot and one of the type's extensions, ignoring
    /// case. Text only: the path need not exist, and a slash at its end counts for nothing.
    static bool isType(const QString &path, ExtendableEnumRef<FileTypeData> type);
};

extern template class ExtendableEnum<FileTypes::FileTypeData>;

} // namespace zel
