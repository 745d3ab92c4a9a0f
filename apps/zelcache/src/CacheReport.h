#pragma once

#include "ResourceCachePath.h"
#include "ResourceCacheReader.h"
#include "ResourceCacheSizes.h"
#include "TextAt.h"
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

/// `list` for people, a line for each resource, and for programs, JSON of each: the same as
/// resourceJson() gives. Made one by one, since a cache may have a great many, from the snapshot,
/// which must outlive it.
TextAt listLines(const ResourceCacheReader::Snapshot &snapshot);
TextAt listJson(const ResourceCacheReader::Snapshot &snapshot);
/// The references alone, as `get` takes them.
TextAt referenceLines(const ResourceCacheReader::Snapshot &snapshot);

/// One resource as `list` and `info` tell of it.
QJsonObject resourceJson(const ResourceCacheReader::Snapshot &snapshot,
                         const ResourceCacheReader::Resource &resource);

/// `status` for people and for programs.
QStringList statusLines(const StatusReport &report);
QJsonObject statusJson(const StatusReport &report);

} // namespace zel::cli
