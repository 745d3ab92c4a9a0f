#pragma once

#include "RemovalCli.h"

#include <QSystemSemaphore>

namespace zel::test {

/// Runs commands that only look at the cache.
class ReadingCli : public RemovalCli
{
protected:
    /// A command while another program holds the cache for good; fails the test if the command
    /// waits for it or changes a byte of the database.
    std::unique_ptr<ProgramRun> runWhileHeld(const QStringList &arguments, int exitCode = 0) const
    {
        const QByteArray before = readFile(cache.databasePath());
        QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                                   QSystemSemaphore::Open);
        EXPECT_TRUE(semaphore.acquire());
        auto run = start(arguments);
        EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
        EXPECT_TRUE(semaphore.release());
        EXPECT_EQ(readFile(cache.databasePath()), before);
        return run;
    }
    QJsonObject answerWhileHeld(const QStringList &arguments, int exitCode = 0) const
    {
        const QStringList all = arguments + QStringList { QStringLiteral("--json") };
        return jsonOf(runWhileHeld(all, exitCode)->output());
    }

    /// So many resources, each of a size of its own; by default of a scheme that no program has.
    void addHundredThousand(const QString &prefix = QStringLiteral("lims:")) const
    {
        CacheDatabase(cache.databasePath())
            .run(QStringLiteral(
                     "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < "
                     "100000) "
                     "INSERT INTO CachedResources (reference, cachedPath, fileSize, status, "
                     "cleanupPolicy, lastAccessDateTime, lastStatusUpdateClientId, version) "
                     "SELECT ? || 'sample-' || i || '.raw', '/cache/lims/' || i || '.raw', i, "
                     "'Ready', "
                     "'OnDemand', i, 1, '1.0' FROM n"),
                 { prefix });
    }
};

} // namespace zel::test
