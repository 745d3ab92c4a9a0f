#pragma once

#include "Export.h"

#include <QByteArray>
#include <QList>

#include <functional>

namespace zel {

/// One walk through a folder in which the caller decides what is looked at entry by entry and what
/// is only summed up. Links are entries like files and are not followed. Names are bytes, as the
/// names of a file system need not be valid text.
class ZEL_RESOURCE_MANAGER_EXPORT TreeSurvey
{
public:
    /// What is done with an entry.
    enum class Step {
        Enter, ///< asks for each entry of this folder; of anything else it is the same as Measure
        Measure, ///< sums up all that is in it
        Skip, ///< leaves it out
    };

    /// What was measured.
    struct Entry
    {
        QByteArray path; ///< relative to the folder of the survey
        bool isFolder = false; ///< false for files, links and all else
        qint64 files = 0; ///< how many entries in it are no folders, it itself included
        qint64 bytes = 0; ///< of the files; a link has none
        qint64 newestChange = 0; ///< of anything in it: milliseconds since the epoch
    };

    /// What the walk found.
    struct Outcome
    {
        bool exists = false; ///< whether the folder itself can be read
        QList<Entry> entries; ///< in no order
        QList<QByteArray> unreadable; ///< folders, relative too
    };

    /// Asked for each entry, on the thread that walks; the path is relative.
    using Question = std::function<Step(const QByteArray &path, bool isFolder)>;

    /// Changes nothing and waits for nobody; what others change meanwhile is seen or not.
    static Outcome make(const QString &folder, const Question &question);
};

} // namespace zel
