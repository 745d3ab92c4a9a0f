#pragma once

#include "errors/Result.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QVersionNumber>

#include <optional>

namespace archive {

/// One run, as the index of its archive describes it.
struct ArchivedRun
{
    QString id;
    QString file; ///< full path
    QString report; ///< of the run's quality, full path; empty if there is none
    QString sample;
    QString batch;
    QVersionNumber revision;
    qint64 bytes = 0; ///< of the file
};

/// The file index.json of an archive: {"runs": [{"id": "0042", "file": "monday/a.mzML", ...}]}
///
/// Other people write it, so it is not trusted: an index that names a file outside of its archive
/// is refused as a whole.
class ArchiveIndex
{
public:
    /// Code 1 if the index cannot be read, code 4 if it makes no sense.
    static zel::Result<ArchiveIndex> read(const QString &folder);

    std::optional<ArchivedRun> find(const QString &id) const;
    /// All of one batch, in the order of the index.
    QList<ArchivedRun> batch(const QString &name) const;

private:
    static zel::Result<ArchivedRun> runOf(const QJsonObject &object, const QString &folder);

    QList<ArchivedRun> runs;
};

} // namespace archive
