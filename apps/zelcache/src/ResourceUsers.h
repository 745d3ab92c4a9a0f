#pragma once

#include "ResourceCacheReader.h"

#include <QHash>
#include <QJsonArray>

namespace zel::cli {

/// Whether the other programs take the client for alive at this moment; milliseconds since the
/// epoch.
bool isAlive(const ResourceCacheReader::Client &client, qint64 now);

/// The numbers of the living processes that use a resource, each once, by its reference. The usage
/// of one that is gone or silent for too long holds nothing: it goes when the cache is next tidied.
using ResourceUsers = QHash<QString, QList<qint64>>;
ResourceUsers usersByReference(const ResourceCacheReader::Snapshot &snapshot, qint64 now);

/// The processes that fetch the resource or wait for that, the fetching one first.
QList<qint64> fetchersOf(const ResourceCacheReader::Snapshot &snapshot, const QString &reference);

/// The name of the program; empty for a process that is gone, or that another user or container
/// hides.
QString programOf(qint64 processId);

/// "process 12 (program), process 13"; without the name of one that cannot be seen from here.
QString processesText(const QList<qint64> &processIds);
/// Of each "process" and "program", which is null if it cannot be seen.
QJsonArray processesJson(const QList<qint64> &processIds);

} // namespace zel::cli
