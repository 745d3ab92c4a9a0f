#pragma once

#include "ReadingConnection.h"
#include "ResourceCacheReader.h"

#include <QSet>

#include <functional>

/// How the rows of a cache's tables are read, also those of older files.
namespace zel::CacheRows {

/// The columns of all tables, as "Table.column".
using Columns = QSet<QString>;
Result<Columns> readColumns(const ReadingConnection &connection);

Error readResources(const ReadingConnection &connection, const Columns &columns,
                    ResourceCacheReader::Details details,
                    QList<ResourceCacheReader::Resource> &resources);
/// Adds the one with this reference, if there is one, with every detail.
Error readResource(const ReadingConnection &connection, const Columns &columns,
                   const QString &reference, QList<ResourceCacheReader::Resource> &resources);
Error countResources(const ReadingConnection &connection, QHash<ResourceStatus, int> &counts);

using IsWanted = std::function<bool(const QString &reference)>;
bool isAnything(const QString &reference);

Error readUsages(const ReadingConnection &connection, const IsWanted &isWanted,
                 QList<ResourceCacheReader::Usage> &usages);
Error readAcquiringTasks(const ReadingConnection &connection, const IsWanted &isWanted,
                         QList<ResourceCacheReader::AcquiringTask> &tasks);
Error readClients(const ReadingConnection &connection, QList<ResourceCacheReader::Client> &clients);
/// How many usages name a client that is gone.
Error countStrayUsages(const ReadingConnection &connection, int &count);

/// `currentSize`: bytes. `lastScanTimestamp`: seconds since the epoch.
Error readMetadata(const ReadingConnection &connection, const Columns &columns, qint64 &currentSize,
                   qint64 &lastScanTimestamp);

} // namespace zel::CacheRows
