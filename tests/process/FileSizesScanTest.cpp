#include "CacheDatabase.h"
#include "CacheProcess.h"
#include "FetchProcess.h"
#include "TemporaryCache.h"

#include <QDateTime>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The scan that a process starts when it opens a cache whose last one was long ago.
class FileSizesScanTest : public testing::Test
{
protected:
    /// A resource that is stored with 4 bytes and has 10 by now.
    void makeGrownResource() const
    {
        CacheProcess maker(cache.baseDir());
        ASSERT_EQ(maker.ask(u"add test:a"_s), u"ok"_s);
        ASSERT_EQ(maker.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
        ASSERT_EQ(maker.ask(u"writeData test:a data"_s), u"true"_s);
        ASSERT_EQ(maker.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
        ASSERT_EQ(maker.ask(u"exit"_s), u"ok"_s);
        ASSERT_EQ(maker.end(), 0);
        writeFile(cache.dataDir() + u"/test/a/data"_s, "0123456789");
        setLastScan(longAgo);
    }
    void setLastScan(qint64 seconds) const
    {
        database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = ?"_s, { seconds });
    }
    qint64 lastScan() const { return metadata(u"lastScanTimestamp"_s); }
    qint64 currentSize() const { return metadata(u"currentSize"_s); }
    CacheDatabase database() const { return CacheDatabase(cache.databasePath()); }

    static constexpr qint64 longAgo = 1000;
    TemporaryCache cache;

private:
    qint64 metadata(const QString &column) const
    {
        return database().value(u"SELECT %1 FROM CacheMetadata"_s.arg(column)).toLongLong();
    }
};

} // namespace

TEST_F(FileSizesScanTest, open_scanIsDue_setsTheSizesRightForAll)
{
    makeGrownResource();
    CacheProcess other(cache.baseDir());
    EXPECT_EQ(other.ask(u"readCurrentCacheSize"_s), u"10"_s); // waits for the scan
    EXPECT_GT(lastScan(), longAgo);
}

TEST_F(FileSizesScanTest, open_secondProcess_doesNotScanAgain)
{
    makeGrownResource();
    CacheProcess first(cache.baseDir());
    EXPECT_EQ(first.ask(u"readCurrentCacheSize"_s), u"10"_s);
    const qint64 justNow = lastScan() - 1;
    setLastScan(justNow);
    CacheProcess second(cache.baseDir());
    EXPECT_EQ(second.ask(u"readCurrentCacheSize"_s), u"10"_s);
    EXPECT_EQ(lastScan(), justNow);
}

// It has no event loop: nobody but the destructors at its end waits for the scan.
TEST_F(FileSizesScanTest, manager_programEndsDuringTheScan_completesItAndLeavesNoClient)
{
    makeGrownResource();
    constexpr int files = 2000; // takes a while to count
    const QString folder = cache.dataDir() + u"/test/a/data"_s;
    ASSERT_TRUE(QFile::remove(folder));
    for (int i = 0; i < files; ++i)
        writeFile(folder + u"/%1"_s.arg(i), "1");

    const TemporaryCache elsewhere;
    const FetchSource source(elsewhere.baseDir(), 1);
    for (int round = 0; round < 5; ++round) {
        setLastScan(longAgo);
        database().run(u"UPDATE CachedResources SET fileSize = 4"_s);
        FetchProcess program(cache.baseDir(), source, {});
        EXPECT_EQ(program.end(), 0);
        EXPECT_EQ(currentSize(), files);
        EXPECT_GT(lastScan(), longAgo);
        EXPECT_EQ(database().count(u"Clients"_s), 0);
    }
}

TEST_F(FileSizesScanTest, scan_killedAtEachStep_leavesAllOrNothingAndTheNextScans)
{
    makeGrownResource();
    int step = 0;
    for (bool wasKilled = true; wasKilled && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        database().run(u"UPDATE CachedResources SET fileSize = 4"_s);
        setLastScan(longAgo);

        CacheProcess victim(cache.baseDir(), CacheProcess::Start::Closed);
        EXPECT_EQ(victim.ask(u"dieAtFileStep %1"_s.arg(step)), u"ok"_s);
        victim.send(u"open"_s);
        victim.send(u"readCurrentCacheSize"_s);
        victim.send(u"exit"_s);
        wasKilled = fateOf(&victim) == Fate::Killed;
        EXPECT_EQ(currentSize(), lastScan() == longAgo ? 4 : 10);

        CacheProcess next(cache.baseDir());
        EXPECT_EQ(next.ask(u"readCurrentCacheSize"_s), u"10"_s);
        EXPECT_GT(lastScan(), longAgo);
    }
    EXPECT_GT(step, 3) << "hardly anything was killed";
}
