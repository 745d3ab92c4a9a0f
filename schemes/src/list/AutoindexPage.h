#pragma once

#include "errors/Result.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace zel {

/// What nginx tells of one folder with `autoindex_format json`: an array of objects with "name",
/// "type", "size" of files, and "mtime".
class AutoindexPage
{
    Q_DECLARE_TR_FUNCTIONS(zel::AutoindexPage)

public:
    struct Entry
    {
        QString name; ///< without a slash; nobody has looked at it otherwise
        bool isFolder = false;
        std::optional<qint64> size; ///< bytes of a file
        QDateTime modified; ///< invalid if not told
    };

    /// Files and folders; what is neither is left out. Code 4 for anything that is no such page, as
    /// is one that has a folder twice.
    static Result<QList<Entry>> parse(const QByteArray &json);
};

} // namespace zel
