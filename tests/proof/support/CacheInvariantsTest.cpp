#include "CacheInvariants.h"
#include "support/CacheFixture.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using Exception = CacheInvariants::Exception;

namespace {

/// A cache with one Ready resource, one that is being fetched and one that is wanted.
class CacheInvariantsTest : public CacheFixture
{
protected:
    void SetUp() override
    {
        openCache();
        addReady(u"test:ready"_s, u"ready/file"_s, 4);
        for (const QString &reference : { u"test:fetched"_s, u"test:wanted"_s }) {
            ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
            database().run(u"INSERT INTO AcquiringTasks (resourceId, clientId) "
                           "SELECT r.id, c.id FROM CachedResources r, Clients c "
                           "WHERE r.reference = ?"_s,
                           { reference });
        }
        ASSERT_FALSE(cache.saveStatus(u"test:fetched"_s, ResourceStatus::Acquiring).hasError());
        handle = cache.useResource(u"test:ready"_s).value();
        invariants.expectContent(u"test:ready"_s, "xxxx");
    }

    std::unique_ptr<ResourceCache::InUseHandle> handle;
    CacheInvariants invariants { directory.databasePath(), directory.dataDir() };
};

/// A statement that damages the rows, and what is said of it.
struct Damage
{
    const char *name;
    const char *sql;
    const char *violation;
    std::optional<Exception> exception = {};
};

class CacheInvariantsDamageTest : public CacheInvariantsTest,
                                  public testing::WithParamInterface<Damage>
{
};

const Damage damages[] = {
    { "noMetadata", "DELETE FROM CacheMetadata", "There is not one row of metadata but: 0",
      Exception::OtherSums },
    { "twoMetadata", "INSERT INTO CacheMetadata (currentSize) VALUES (4)",
      "There is not one row of metadata but: 2", Exception::OtherSums },
    { "otherSum", "UPDATE CacheMetadata SET currentSize = 5",
      "The current size is not the sum of all sizes: 5 instead of 4", Exception::OtherSums },
    { "sizeAsText", "UPDATE CachedResources SET fileSize = 'four' WHERE reference = 'test:ready'",
      "A size is none: test:ready: four" },
    { "negativeSize", "UPDATE CachedResources SET fileSize = -1 WHERE reference = 'test:wanted'",
      "A size is none: test:wanted: -1" },
    { "sizeWithoutPath", "UPDATE CachedResources SET fileSize = 3 WHERE reference = 'test:wanted'",
      "A resource has a size without a path: test:wanted" },
    { "unknownStatus",
      "UPDATE CachedResources SET status = 'Invalid' "
      "WHERE reference = 'test:wanted'",
      "A status is none: test:wanted: Invalid" },
    { "unknownPolicy",
      "UPDATE CachedResources SET cleanupPolicy = '' "
      "WHERE reference = 'test:wanted'",
      "A policy is none: test:wanted: " },
    { "readyWithoutPath",
      "UPDATE CachedResources SET status = 'Ready' "
      "WHERE reference = 'test:wanted'",
      "A resource is Ready without a path: test:wanted" },
    { "acquiringWithoutTask",
      "DELETE FROM AcquiringTasks WHERE resourceId = "
      "(SELECT id FROM CachedResources WHERE reference = 'test:fetched')",
      "A resource is Acquiring without a task: test:fetched" },
    { "wishWithoutTask",
      "DELETE FROM AcquiringTasks WHERE resourceId = "
      "(SELECT id FROM CachedResources WHERE reference = 'test:wanted')",
      "A resource is ScheduledForAcquire without a task: test:wanted", Exception::WishWithoutTask },
    { "twoFetchers",
      "UPDATE AcquiringTasks SET progress = 0; "
      "INSERT INTO Clients (id, processId, lastPingTime) VALUES (77, 77, 0); "
      "INSERT INTO AcquiringTasks (resourceId, progress, clientId) "
      "SELECT id, 1, 77 FROM CachedResources WHERE reference = 'test:fetched'",
      "Several clients fetch one resource: 2" },
    { "progressTooLarge", "UPDATE AcquiringTasks SET progress = 101 WHERE id = 1",
      "A progress is no percentage: 1: 101" },
    { "taskWithoutResource", "UPDATE AcquiringTasks SET resourceId = 99 WHERE id = 2",
      "A task has no resource: 2" },
    { "taskWithoutClient", "UPDATE AcquiringTasks SET clientId = 99 WHERE id = 2",
      "A task has no client: 2", Exception::RowsOfTheDead },
    { "useWithoutResource", "UPDATE ResourceUsages SET resourceId = 99",
      "A use has no resource: 1" },
    { "useWithoutClient", "UPDATE ResourceUsages SET clientId = 99", "A use has no client: 1",
      Exception::RowsOfTheDead },
    { "onePathForTwo",
      "INSERT INTO CachedResources (reference, cachedPath, fileSize, status, cleanupPolicy, "
      "lastAccessDateTime, lastStatusUpdateClientId) SELECT 'test:twin', cachedPath, fileSize, "
      "status, cleanupPolicy, 0, 0 FROM CachedResources WHERE reference = 'test:ready'",
      "Two resources lie in one place: test:ready and test:twin" },
    { "oneInsideTheOther",
      "INSERT INTO CachedResources (reference, cachedPath, fileSize, status, cleanupPolicy, "
      "lastAccessDateTime, lastStatusUpdateClientId) SELECT 'test:inner', cachedPath || '/a', 0, "
      "status, cleanupPolicy, 0, 0 FROM CachedResources WHERE reference = 'test:ready'",
      "Two resources lie in one place: test:ready and test:inner" },
    { "noTable", "DROP TABLE ResourceUsages", "The database cannot be read: " },
};

} // namespace

TEST_F(CacheInvariantsTest, violations_cacheInOrder_none)
{
    EXPECT_EQ(invariants.violations(), QStringList());
    EXPECT_EQ(invariants.rowViolations(), QStringList());
}

TEST_P(CacheInvariantsDamageTest, violations_damagedRows_areNamed)
{
    database().run(u"DROP TRIGGER updateStatusOnAcquireTaskDelete"_s);
    for (const QString &sql : QString::fromUtf8(GetParam().sql).split(u"; "_s))
        database().run(sql);

    const QString expected = QString::fromUtf8(GetParam().violation);
    EXPECT_FALSE(invariants.violations().filter(expected).isEmpty())
        << qPrintable(invariants.violations().join(u'\n'));
    EXPECT_FALSE(invariants.rowViolations().filter(expected).isEmpty());
    if (GetParam().exception) {
        invariants.except(*GetParam().exception);
        EXPECT_EQ(invariants.violations(), QStringList());
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, CacheInvariantsDamageTest, testing::ValuesIn(damages),
                         [](const auto &damage) { return damage.param.name; });

TEST_F(CacheInvariantsTest, violations_indexAndRowsDiffer_areNamed)
{
    handle.reset();
    cache.close();
    QByteArray bytes = readFile(directory.databasePath());
    bytes.replace(bytes.indexOf("test:wanted"), 11, "test:wasted");
    writeFile(directory.databasePath(), bytes);
    EXPECT_FALSE(invariants.violations().filter(u"The database is damaged: "_s).isEmpty());
}

TEST_F(CacheInvariantsTest, violations_dataGone_areNamed)
{
    ASSERT_TRUE(QFile::remove(dataPath(u"ready/file"_s)));
    EXPECT_EQ(
        invariants.violations(),
        QStringList(u"A Ready resource has no data: test:ready at "_s + dataPath(u"ready/file"_s)));
    EXPECT_EQ(invariants.except(Exception::LostData).violations(), QStringList());
}

TEST_F(CacheInvariantsTest, violations_partOfTheData_isNamed)
{
    writeFile(dataPath(u"ready/file"_s), "xx");
    EXPECT_EQ(invariants.except(Exception::LostData).violations(),
              QStringList({ u"A Ready resource holds other data: test:ready"_s,
                            u"A Ready resource is of another size: test:ready has 2 bytes "
                            "instead of 4"_s }));
}

TEST_F(CacheInvariantsTest, violations_fileMissingInAFolder_isNamed)
{
    writeFile(dataPath(u"tree/folder/a"_s), "aa");
    writeFile(dataPath(u"tree/folder/b/c"_s), "b");
    ASSERT_TRUE(QFile::link(u"c"_s, dataPath(u"tree/folder/b/link"_s)));
    ASSERT_FALSE(cache.add(u"test:tree"_s, ResourceCleanupPolicy::OnDemand).hasError());
    ASSERT_FALSE(cache.saveLocalPath(u"test:tree"_s, dataPath(u"tree/folder"_s), 3).hasError());
    ASSERT_FALSE(cache.saveStatus(u"test:tree"_s, ResourceStatus::Ready).hasError());
    EXPECT_EQ(invariants.violations(), QStringList());

    ASSERT_TRUE(QFile::remove(dataPath(u"tree/folder/b/c"_s)));
    EXPECT_EQ(invariants.violations(),
              QStringList(u"A Ready resource is of another size: test:tree has 2 bytes "
                          "instead of 3"_s));
    EXPECT_EQ(invariants.except(Exception::OtherSizes).violations(), QStringList());
}

TEST_F(CacheInvariantsTest, violations_contentCheckObjects_isNamed)
{
    invariants.setContentCheck([](const QString &reference, const QString &path) {
        return reference == u"test:ready"_s ? path.section(u'/', -1) + u" is torn"_s : QString();
    });
    EXPECT_EQ(invariants.violations(),
              QStringList(u"A Ready resource holds other data: test:ready: file is torn"_s));
}

TEST_F(CacheInvariantsTest, violations_readyInAStagingPlace_isNamed)
{
    writeFile(dataPath(u"ready/.leftover-1/file"_s), "xxxx");
    database().run(u"UPDATE CachedResources SET cachedPath = ? WHERE reference = 'test:ready'"_s,
                   { dataPath(u"ready/.leftover-1/file"_s) });
    EXPECT_EQ(invariants.violations(),
              QStringList(u"A Ready resource lies where none is published: "_s
                          + dataPath(u"ready/.leftover-1/file"_s)));
}

TEST_F(CacheInvariantsTest, violations_noDatabase_isNamedAndNoneIsMade)
{
    const QString path = directory.outside(u"none.db"_s);
    CacheInvariants none(path, directory.dataDir());
    EXPECT_EQ(none.violations(), QStringList(u"There is no database: "_s + path));
    EXPECT_EQ(none.except(Exception::NoDatabase).violations(), QStringList());
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(CacheInvariantsTest, violations_noTables_areNamed)
{
    const QString path = directory.outside(u"empty.db"_s);
    writeFile(path, "");
    CacheInvariants empty(path, directory.dataDir());
    EXPECT_EQ(empty.violations().size(), 1);
    EXPECT_EQ(empty.except(Exception::NoDatabase).violations(), QStringList());
}

TEST_F(CacheInvariantsTest, violations_noDatabaseFormat_areNamed)
{
    const QString path = directory.outside(u"text.db"_s);
    writeFile(path, "Nothing of the kind.");
    CacheInvariants text(path, directory.dataDir());
    EXPECT_EQ(text.except(Exception::NoDatabase).violations().size(), 1);
}
