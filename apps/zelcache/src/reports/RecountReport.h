#pragma once

#include "ResourceCacheReader.h"
#include "errors/Error.h"

#include <QHash>
#include <QJsonObject>
#include <QStringList>

namespace zel::cli {

/// One resource that was counted anew, or was to be.
struct RecountResult
{
    QString reference; ///< as it is shown and answered
    Error failure; ///< why it was not counted
    bool isNotHere = false; ///< nothing went wrong: the cache has nothing of it to count
    qint64 before = 0; ///< bytes
    qint64 after = 0; ///< bytes

    bool hasChanged() const { return !failure.hasError() && before != after; }
};

/// What a count of sizes has changed.
struct RecountReport
{
    QList<RecountResult> results;
    QStringList gone; ///< what a count of everything found to have no data, by reference
    qint64 totalBefore = 0; ///< bytes, of the whole cache
    qint64 totalAfter = 0;
};

/// The sizes of all that is ready, by reference; in bytes.
QHash<QString, qint64> readySizes(const ResourceCacheReader::Snapshot &snapshot);

/// What changed for those that were ready at both moments.
RecountReport recountReport(const ResourceCacheReader::Snapshot &before,
                            const ResourceCacheReader::Snapshot &after);

/// For people: a line for each size that changed, and one for the whole cache.
QStringList recountLines(const RecountReport &report);
/// For programs: all results.
QJsonObject recountJson(const RecountReport &report);

} // namespace zel::cli
