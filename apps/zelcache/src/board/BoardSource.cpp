#include "board/BoardSource.h"

#include "cache/CacheReading.h"
#include "errors/Propagate.h"
#include "staging/StagingRecord.h"

#include <QDateTime>

namespace zel::cli {

namespace {

QList<BoardTransfer> transfersInto(const QString &dataDirectory)
{
    QList<BoardTransfer> transfers;
    for (const StagingRecord &record : StagingRecord::readAll(dataDirectory))
        transfers.append({ record.referenceKey, record.process.pid, record.isBeingWritten(),
                           record.bytes, record.totalBytes, record.bytesPerSecond,
                           record.updated.toMSecsSinceEpoch() });
    return transfers;
}

QHash<qint64, ProcessSight> processesOf(const QList<ResourceCacheReader::Client> &clients,
                                        const ProcessLookup &look)
{
    QHash<qint64, ProcessSight> processes;
    for (const ResourceCacheReader::Client &client : clients)
        processes.insert(client.processId, look(client.processId));
    return processes;
}

} // namespace

Result<BoardLook> lookAt(const ResourceManagerSettings &settings)
{
    const ResourceCacheReader reader(settings.cachePath.databasePath());
    ZEL_TRY_LET(const auto activity, reader.readActivity());
    return lookAt(settings, activity);
}

BoardLook lookAt(const ResourceManagerSettings &settings,
                 const ResourceCacheReader::Activity &activity)
{
    BoardLook look;
    look.activity = activity;
    look.transfers = transfersInto(settings.cachePath.cacheDataDir());
    look.processes
        = processesOf(activity.clients, cli::processesOf(settings.cachePath.databasePath()));
    look.freeBytes = freeBytesOf(settings);
    // Last, or a sign of life might come from the future.
    look.now = QDateTime::currentMSecsSinceEpoch();
    return look;
}

} // namespace zel::cli
