#include "AsAnybody.h"
#include "ResourceCacheDaoFixture.h"

#include <barrier>
#include <cstdlib>
#include <thread>

using namespace zel;
using namespace zel::test;

namespace {

using ResourceCacheDaoProcessTest = ResourceCacheDaoFixture;

/// As long-lived as the program, like what a process-wide manager owns.
DaoUnderTest &daoOfTheProgram()
{
    static DaoUnderTest dao;
    return dao;
}

} // namespace

TEST_F(ResourceCacheDaoProcessTest, open_manyAtOnceOnAnAbsentFile_makeItOnce)
{
    constexpr int count = 6;
    for (int round = 0; round < 5; ++round) {
        const QString file = cache.outside(u"%1.db"_s.arg(round));
        std::barrier together(count);
        std::vector<std::thread> openers;
        for (int i = 0; i < count; ++i) {
            openers.emplace_back([&file, &together, i] {
                DaoUnderTest opener;
                together.arrive_and_wait();
                EXPECT_TRUE(succeeded(opener.open(file, 1'000'000 + i)));
                together.arrive_and_wait();
            });
        }
        for (std::thread &opener : openers)
            opener.join();
        CacheDatabase made(file);
        EXPECT_EQ(made.count(u"CacheMetadata"_s), 1);
        EXPECT_EQ(made.count(u"Clients"_s), count);
    }
}

TEST_F(ResourceCacheDaoProcessTest, writes_manyAtOnce_waitForEachOther)
{
    constexpr int count = 4;
    constexpr int writes = 50;
    ASSERT_TRUE(succeeded(dao.open(path())));
    std::vector<std::thread> writers;
    for (int i = 0; i < count; ++i) {
        writers.emplace_back([this, i] {
            DaoUnderTest writer;
            ASSERT_TRUE(succeeded(writer.open(path(), 1'000'000 + i)));
            for (int n = 0; n < writes; ++n) {
                const QString reference = u"test:%1/%2"_s.arg(i).arg(n);
                EXPECT_TRUE(succeeded(writer.insertResource(reference, ResourceStatus::Missing,
                                                            ResourceCleanupPolicy::Never, n)));
                EXPECT_TRUE(succeeded(writer.addRetrievingTask(reference)));
                EXPECT_TRUE(succeeded(writer.updateProgress(reference, n)));
            }
        });
    }
    for (std::thread &writer : writers)
        writer.join();
    EXPECT_EQ(database().count(u"CachedResources"_s), count * writes);
}

TEST_F(ResourceCacheDaoProcessTest, operations_onAnotherThread_workAndMayClose)
{
    const LogCapture log;
    ASSERT_TRUE(succeeded(dao.open(path())));
    insert(u"test:a"_s);
    std::thread worker([this] {
        EXPECT_EQ(dao.selectStatus(u"test:a"_s).value(), ResourceStatus::Missing);
        const Context context = transaction();
        EXPECT_TRUE(succeeded(
            dao.updateResourceStatus(context.get(), u"test:a"_s, ResourceStatus::Ready, 1)));
        EXPECT_TRUE(succeeded(context->commit()));
    });
    worker.join();
    EXPECT_EQ(dao.selectStatus(u"test:a"_s).value(), ResourceStatus::Ready);
    std::thread closer([this] { dao.close(); });
    closer.join();
    EXPECT_EQ(database().count(u"Clients"_s), 0);
    EXPECT_EQ(log.texts(QtWarningMsg, "default"), QStringList());
}

TEST_F(ResourceCacheDaoProcessTest, open_fileNotWritable_failsAndChangesNothing)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    dao.close();
    QFile::setPermissions(QFileInfo(cache.baseDir()).path(), QFile::Permissions(0x7755));
    QFile::setPermissions(cache.baseDir(), QFile::Permissions(0x7777));
    QFile::setPermissions(path(), QFile::Permissions(0x4444));
    {
        const AsAnybody anybody;
        if (!anybody.canReach(cache.baseDir()))
            GTEST_SKIP() << "anybody may not come this far";
        EXPECT_TRUE(failedInDriver(dao.open(path()), u"attempt to write a readonly database"_s));
        dao.close();
    }
    EXPECT_EQ(database().count(u"Clients"_s), 0);
}

TEST(ResourceCacheDaoExitTest, destruction_atTheEndOfTheProgram_closesProperly)
{
    // The program runs anew up to here, so that nothing but the object has used the SQL module.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char *variable = "ZEL_TEST_DATABASE";
    std::optional<TemporaryCache> cache;
    if (!qEnvironmentVariableIsSet(variable)) {
        cache.emplace();
        qputenv(variable, QFile::encodeName(cache->databasePath()));
    }
    const QString path = qEnvironmentVariable(variable);
    EXPECT_EXIT(
        {
            const bool isOpen = !daoOfTheProgram().open(path).hasError();
            std::exit(isOpen ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    qunsetenv(variable);

    CacheDatabase left(path);
    EXPECT_EQ(left.count(u"CacheMetadata"_s), 1);
    EXPECT_EQ(left.count(u"Clients"_s), 0);
}
