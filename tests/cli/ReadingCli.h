#pragma once

#include "RemovalCli.h"

#include <QSystemSemaphore>

namespace zel::test {

/// Runs commands that only look at the cache.
class ReadingCli : public RemovalCli
{
protected:
    /// The answer of a command while another program holds the cache for good; fails the test if
    /// the command waits for it or changes a byte of the database.
    QJsonObject answerWhileHeld(const QStringList &arguments, int exitCode = 0) const
    {
        const QByteArray before = readFile(cache.databasePath());
        QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                                   QSystemSemaphore::Open);
        EXPECT_TRUE(semaphore.acquire());
        const auto run = start(arguments + QStringList { QStringLiteral("--json") });
        EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
        EXPECT_TRUE(semaphore.release());
        EXPECT_EQ(readFile(cache.databasePath()), before);
        return jsonOf(run->output());
    }

    /// So many resources of a scheme that no program has, each of a size of its own.
    void addHundredThousand() const
    {
        CacheDatabase(cache.databasePath())
            .run(QStringLiteral(
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
                "INSERT INTO CachedResources (reference, cachedPath, fileSize, status, "
                "cleanupPolicy, lastAccessDateTime, lastStatusUpdateClientId, version) "
                "SELECT 'lims:sample-' || i || '.raw', '/cache/lims/' || i || '.raw', i, 'Ready', "
                "'OnDemand', i, 1, '1.0' FROM n"));
    }
};

} // namespace zel::test
