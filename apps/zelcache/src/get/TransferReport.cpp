#include "get/TransferReport.h"

#include "staging/StagingRecord.h"

namespace zel::cli {

namespace {

TransferReport reportOf(const StagingRecord &record)
{
    TransferReport report;
    report.processId = record.process.pid;
    report.receivedBytes = record.bytes;
    report.totalBytes = record.totalBytes;
    report.bytesPerSecond = double(record.bytesPerSecond);
    return report;
}

} // namespace

TransferReports readTransfers(const ResourceCachePath &path)
{
    TransferReports reports;
    // Newest first: an older one of the same resource belongs to a former state of its source.
    for (const StagingRecord &record : StagingRecord::readAll(path.cacheDataDir())) {
        if (record.isBeingWritten() && !reports.contains(record.referenceKey))
            reports.insert(record.referenceKey, reportOf(record));
    }
    return reports;
}

void addFetchers(TransferReports &reports, const ResourceCacheReader::Snapshot &snapshot)
{
    for (const ResourceCacheReader::AcquiringTask &task : snapshot.acquiringTasks) {
        if (task.progress && !reports.contains(task.reference))
            reports[task.reference].processId = task.processId;
    }
}

} // namespace zel::cli
