#pragma once

#include "ResourceCachePath.h"
#include "ResourceCacheReader.h"

#include <QHash>

#include <optional>

namespace zel::cli {

/// What is known of a running fetch beyond its row in the database.
struct TransferReport
{
    std::optional<qint64> processId; ///< who fetches
    std::optional<qint64> receivedBytes;
    std::optional<qint64> totalBytes;
    std::optional<double> bytesPerSecond;
};

/// By the reference's key form.
using TransferReports = QHash<QString, TransferReport>;

/// What the fetches into a cache tell of themselves at this moment, in any program. Takes no lock.
TransferReports readTransfers(const ResourceCachePath &path);

/// Adds who fetches according to the database, for schemes whose fetches tell nothing.
void addFetchers(TransferReports &reports, const ResourceCacheReader::Snapshot &snapshot);

} // namespace zel::cli
