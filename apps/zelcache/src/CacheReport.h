#pragma once

#include "ResourceCachePath.h"
#include "ResourceCacheReader.h"
#include "ResourceCacheSizes.h"
#include "TransferReport.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

#include <optional>

namespace zel::cli {

/// Everything that `status` shows, as of one moment.
struct StatusReport
{
    ResourceCachePath path;
    ResourceCacheSizes limits;
    ResourceCacheReader::Activity activity;
    TransferReports transfers;
    std::optional<qint64> freeBytes; ///< on the volume of the data
    qint64 now = 0; ///< milliseconds since the epoch
};

/// `list` for people, a line for each resource, and for programs.
QStringList listLines(const ResourceCacheReader::Snapshot &snapshot);
/// The references alone, as `get` takes them.
QStringList referenceLines(const ResourceCacheReader::Snapshot &snapshot);
QJsonArray listJson(const ResourceCacheReader::Snapshot &snapshot);

/// One resource as `list` and `info` tell of it.
QJsonObject resourceJson(const ResourceCacheReader::Snapshot &snapshot,
                         const ResourceCacheReader::Resource &resource);

/// `status` for people and for programs.
QStringList statusLines(const StatusReport &report);
QJsonObject statusJson(const StatusReport &report);

} // namespace zel::cli
