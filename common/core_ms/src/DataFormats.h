#pragma once

#include "Export.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace zel {

/// What programs may ask about data formats, in plain values. Any thread.
class ZEL_RESOURCE_MANAGER_EXPORT DataFormats
{
public:
    /// One format. A value.
    struct Format
    {
        QString name; ///< as in "Mzml"; how the other functions name it
        QString extension; ///< of file or folder names, without the dot; empty if names do not tell
        QString description; ///< for people
        bool isFile = false; ///< comes as a file
        bool isFolder = false; ///< some formats come in both forms
    };

    /// Every format, in the order of their numbers.
    static QList<Format> all();

    /// The names of the formats that the path may have, in the order of their numbers; empty if
    /// none. The path may be relative, and a slash at its end counts for nothing. byName() does not
    /// touch the disk, detect() looks for the data and for the inner files that make a format.
    static QStringList byName(const QString &path);
    /// See byName().
    static QStringList detect(const QString &path);
};

} // namespace zel
