#pragma once

#include "Export.h"

#include <QByteArray>
#include <QString>

#include <system_error>

namespace zel {

/// Reads a small file as a whole, with as few calls of the system as that can be done with, and
/// never through a link. Waits for nobody, whatever it finds at the path. Any thread.
class ZEL_RESOURCE_MANAGER_EXPORT PlainFile
{
public:
    /// What came of it.
    struct Outcome
    {
        /// Whether it is a file: no link, folder, pipe or device, of which nothing is read. True
        /// also if there is nothing at all.
        bool isPlain = true;
        std::error_code failure; ///< of the system; the content means nothing then
        QByteArray content; ///< one byte more than was allowed if the file has more
    };

    /// `mostBytes` are allowed.
    static Outcome read(const QString &path, qint64 mostBytes);
};

} // namespace zel
