#include "get/TransferReport.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

ResourceCacheReader::AcquiringTask fetching(const QString &reference, qint64 processId)
{
    ResourceCacheReader::AcquiringTask task;
    task.reference = reference;
    task.processId = processId;
    task.progress = 10;
    return task;
}

} // namespace

TEST(TransferReportTest, readTransfers_noStaging_isEmpty)
{
    const QTemporaryDir directory;
    ResourceCachePath path;
    path.setBaseDirPath(directory.path());
    EXPECT_TRUE(readTransfers(path).isEmpty());
}

TEST(TransferReportTest, addFetchers_fetchWithoutRecord_isKnownByItsProcess)
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.acquiringTasks.append(fetching(u"a"_s, 4711));
    TransferReports reports;
    addFetchers(reports, snapshot);
    EXPECT_EQ(reports.value(u"a"_s).processId, 4711);
}

TEST(TransferReportTest, addFetchers_waiterOrKnownFetch_changesNothing)
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.acquiringTasks.append(fetching(u"known"_s, 4711));
    snapshot.acquiringTasks.append(fetching(u"waiter"_s, 4711));
    snapshot.acquiringTasks.last().progress.reset();
    TransferReports reports;
    reports[u"known"_s].processId = 1;
    addFetchers(reports, snapshot);
    EXPECT_EQ(reports.value(u"known"_s).processId, 1);
    EXPECT_FALSE(reports.contains(u"waiter"_s));
}

} // namespace zel::cli
