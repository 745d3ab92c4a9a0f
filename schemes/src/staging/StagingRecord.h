#pragma once

#include "SchemesExport.h"
#include "errors/Result.h"
#include "platform/ProcessIdentity.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace zel {

/// What a fetch tells of itself to everybody who looks: a small file beside the staged data, always
/// whole, renewed a few times a second. Holds no secret. A value.
struct ZEL_RESOURCE_SCHEMES_EXPORT StagingRecord
{
    Q_DECLARE_TR_FUNCTIONS(zel::StagingRecord)

public:
    QString displayText; ///< the reference, for people
    QString referenceKey; ///< of the resource
    QString validator; ///< the state of the source that the staged bytes belong to
    ProcessIdentity process; ///< who writes, or wrote last
    qint64 bytes = 0; ///< staged so far
    std::optional<qint64> totalBytes; ///< empty if the source does not tell
    qint64 bytesPerSecond = 0; ///< lately
    qint64 durableBytes = 0; ///< of them on the disk for sure
    QDateTime started; ///< of this process's part of the fetch
    QDateTime updated; ///< when this was written

    /// Whether the process that wrote it lives, as far as can be seen from here.
    bool isBeingWritten() const { return process.isAlive(); }

    /// The records of all fetches, under way or given up, that are staged beside this data
    /// directory of a cache, newest first. Empty if there are none. Takes no lock.
    static QList<StagingRecord> readAll(const QString &cacheDataDirectory);

    /// Code 1 if the file cannot be read, 4 if it is no record.
    static Result<StagingRecord> read(const QString &path);
    /// Replaces the file as a whole. A power cut may lose it: it is not waited for.
    Error write(const QString &path) const;
    /// The same, and waits until the new content and the file's name are on the disk.
    Error writeDurably(const QString &path) const;
};

} // namespace zel
