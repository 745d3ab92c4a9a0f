#include "board/BoardSource.h"

#include "Library.h"
#include "ResourceUsers.h"
#include "errors/Propagate.h"
#include "platform/ProcessIdentity.h"
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

QHash<qint64, BoardProcess> processesOf(const QList<ResourceCacheReader::Client> &clients)
{
    QHash<qint64, BoardProcess> processes;
    for (const ResourceCacheReader::Client &client : clients) {
        if (const auto started = ProcessIdentity::startOf(client.processId))
            processes.insert(client.processId, { programOf(client.processId), *started });
    }
    return processes;
}

} // namespace

Result<BoardLook> lookAt(const ResourceManagerSettings &settings)
{
    const ResourceCacheReader reader(settings.cachePath.databasePath());
    BoardLook look;
    ZEL_TRY_LET(look.activity, reader.readActivity());
    look.transfers = transfersInto(settings.cachePath.cacheDataDir());
    look.processes = processesOf(look.activity.clients);
    look.freeBytes = freeBytesOf(settings);
    // Last, or a sign of life might come from the future.
    look.now = QDateTime::currentMSecsSinceEpoch();
    return look;
}

} // namespace zel::cli
