#pragma once

#include "ResourceCachePath.h"
#include "ResourceCacheReader.h"
#include "board/BoardModel.h"
#include "output/TextAt.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

namespace zel::cli {

/// Everything that `status` shows, as of one moment.
struct StatusReport
{
    ResourceCachePath path;
    Board board;
    qint64 lastScanTimestamp = 0; ///< seconds since the epoch; 0 before the first scan
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

/// `status` for people and for programs: what the board tells them, and where the cache lies.
QStringList statusLines(const StatusReport &report);
QJsonObject statusJson(const StatusReport &report);

} // namespace zel::cli
