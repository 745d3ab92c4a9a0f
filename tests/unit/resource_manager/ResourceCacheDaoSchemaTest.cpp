#include "ResourceCacheDaoFixture.h"

using namespace zel;
using namespace zel::test;

namespace {

class ResourceCacheDaoSchemaTest : public ResourceCacheDaoFixture
{
protected:
    QStringList names(const QString &type)
    {
        return database().column(
            u"SELECT name FROM sqlite_master WHERE type = ? AND name NOT LIKE 'sqlite_%' "
            "ORDER BY rowid"_s,
            { type });
    }

    QString schemaOf(const QString &name)
    {
        return database()
            .value(u"SELECT sql FROM sqlite_master WHERE name = ?"_s, { name })
            .toString();
    }

    QStringList columns(const QString &table)
    {
        return database().column(u"SELECT name FROM pragma_table_info(?)"_s, { table });
    }

    qint64 currentSize()
    {
        return database().value(u"SELECT currentSize FROM CacheMetadata"_s).toLongLong();
    }
};

} // namespace

TEST_F(ResourceCacheDaoSchemaTest, open_absentFile_makesTheWholeSchema)
{
    ASSERT_TRUE(succeeded(dao.open(path())));

    EXPECT_EQ(names(u"table"_s),
              QStringList({ u"CachedResources"_s, u"ResourceUsages"_s, u"CacheMetadata"_s,
                            u"AcquiringTasks"_s, u"Clients"_s }));
    EXPECT_EQ(names(u"index"_s), QStringList({ u"idx_CachedResources_reference"_s }));
    EXPECT_EQ(names(u"trigger"_s),
              QStringList({ u"updateOverallSizeOnInsert"_s, u"updateOverallSizeOnUpdate"_s,
                            u"updateOverallSizeOnDelete"_s, u"updateStatusOnAcquireTaskInsert"_s,
                            u"updateStatusOnAcquireTaskDelete"_s }));
    EXPECT_EQ(database().count(u"CacheMetadata"_s), 1);
    EXPECT_EQ(database().value(u"SELECT currentSize FROM CacheMetadata"_s), QVariant(0));
    EXPECT_TRUE(database().value(u"SELECT lastScanTimestamp FROM CacheMetadata"_s).isNull());
    EXPECT_EQ(database().column(u"SELECT processId FROM Clients"_s),
              QStringList({ QString::number(QCoreApplication::applicationPid()) }));
}

// docs/storage.md is what people go by who read the database by hand.
TEST_F(ResourceCacheDaoSchemaTest, open_absentFile_everyColumnStandsOnThePage)
{
    QFile page(QStringLiteral(ZEL_STORAGE_PAGE));
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(page.readAll());
    ASSERT_TRUE(succeeded(dao.open(path())));

    for (const QString &table : names(u"table"_s)) {
        const QString section
            = text.section(u"\n### `%1`"_s.arg(table), 1).section(u"\n##"_s, 0, 0);
        for (const QString &column : columns(table))
            EXPECT_TRUE(section.contains(u"`%1`"_s.arg(column))) << qPrintable(table + column);
    }
}

TEST_F(ResourceCacheDaoSchemaTest, open_absentFile_storesTheTextsToTheBlank)
{
    ASSERT_TRUE(succeeded(dao.open(path())));

    EXPECT_EQ(schemaOf(u"CachedResources"_s),
              u"CREATE TABLE CachedResources (id INTEGER PRIMARY KEY AUTOINCREMENT,"
              "reference TEXT UNIQUE NOT NULL,cachedPath TEXT,fileSize INTEGER,"
              "status TEXT NOT NULL, cleanupPolicy TEXT NOT NULL, "
              "lastAccessDateTime INTEGER NOT NULL, "
              "lastStatusUpdateClientId INTEGER NOT NULL, version TEXT)"_s);
    EXPECT_EQ(schemaOf(u"ResourceUsages"_s),
              u"CREATE TABLE ResourceUsages (id INTEGER PRIMARY KEY AUTOINCREMENT,"
              "resourceId INTEGER NOT NULL, clientId INTEGER NOT NULL)"_s);
    EXPECT_EQ(schemaOf(u"AcquiringTasks"_s),
              u"CREATE TABLE AcquiringTasks (id INTEGER PRIMARY KEY AUTOINCREMENT, "
              "resourceId INTEGER NOT NULL, progress INTEGER, clientId INTEGER NOT NULL)"_s);
    EXPECT_EQ(schemaOf(u"CacheMetadata"_s),
              u"CREATE TABLE CacheMetadata(currentSize INTEGER, lastScanTimestamp INTEGER)"_s);
    EXPECT_EQ(schemaOf(u"Clients"_s),
              u"CREATE TABLE Clients (id INTEGER PRIMARY KEY AUTOINCREMENT , "
              "processId INTEGER UNIQUE NOT NULL, lastPingTime INTEGER NOT NULL)"_s);
    EXPECT_EQ(schemaOf(u"idx_CachedResources_reference"_s),
              u"CREATE UNIQUE INDEX idx_CachedResources_reference "
              "ON CachedResources(reference)"_s);
}

TEST_F(ResourceCacheDaoSchemaTest, open_absentFile_storesTheTriggersToTheBlank)
{
    ASSERT_TRUE(succeeded(dao.open(path())));

    EXPECT_EQ(schemaOf(u"updateOverallSizeOnInsert"_s),
              u"CREATE TRIGGER updateOverallSizeOnInsert AFTER INSERT ON CachedResources BEGIN "
              "UPDATE CacheMetadata SET currentSize = "
              "(SELECT COALESCE(currentSize, 0) FROM CacheMetadata) "
              "+ COALESCE(NEW.fileSize, 0); END"_s);
    EXPECT_EQ(schemaOf(u"updateOverallSizeOnUpdate"_s),
              u"CREATE TRIGGER updateOverallSizeOnUpdate AFTER UPDATE ON CachedResources BEGIN "
              "UPDATE CacheMetadata SET currentSize = "
              "(SELECT COALESCE(currentSize, 0) FROM CacheMetadata) "
              "+ COALESCE(NEW.fileSize, 0) - COALESCE(OLD.fileSize, 0); END"_s);
    EXPECT_EQ(schemaOf(u"updateOverallSizeOnDelete"_s),
              u"CREATE TRIGGER updateOverallSizeOnDelete AFTER DELETE ON CachedResources BEGIN "
              "UPDATE CacheMetadata SET currentSize = "
              "(SELECT COALESCE(currentSize, 0) FROM CacheMetadata) "
              "- COALESCE(OLD.fileSize, 0); END"_s);
    EXPECT_EQ(schemaOf(u"updateStatusOnAcquireTaskInsert"_s),
              u"CREATE TRIGGER updateStatusOnAcquireTaskInsert AFTER INSERT ON AcquiringTasks "
              "WHEN EXISTS(SELECT 1 FROM CachedResources cr WHERE cr.id = NEW.resourceId "
              "AND cr.status = 'Missing') BEGIN UPDATE CachedResources "
              "SET status = 'ScheduledForAcquire' WHERE id = NEW.resourceId; END"_s);
    EXPECT_EQ(schemaOf(u"updateStatusOnAcquireTaskDelete"_s),
              u"CREATE TRIGGER updateStatusOnAcquireTaskDelete AFTER DELETE ON AcquiringTasks "
              "WHEN EXISTS(SELECT 1 FROM CachedResources cr WHERE cr.id = OLD.resourceId "
              "AND (cr.status = 'Acquiring' OR cr.status = 'ScheduledForAcquire')) "
              "AND (SELECT COUNT(1) FROM AcquiringTasks at "
              "WHERE at.resourceId = OLD.resourceId) = 0 "
              "BEGIN UPDATE CachedResources SET status = 'Missing' "
              "WHERE id = OLD.resourceId; END"_s);
}

TEST_F(ResourceCacheDaoSchemaTest, open_fileBeforeVersions_gainsTheColumnsAndNothingElse)
{
    load(u"before-versions.sql"_s);
    const QStringList indexes = names(u"index"_s);
    const QStringList triggers = names(u"trigger"_s);

    ASSERT_TRUE(succeeded(dao.open(path())));

    EXPECT_EQ(columns(u"CachedResources"_s).last(), u"version"_s);
    EXPECT_EQ(columns(u"CacheMetadata"_s),
              QStringList({ u"currentSize"_s, u"lastScanTimestamp"_s }));
    EXPECT_EQ(names(u"index"_s), indexes);
    EXPECT_EQ(names(u"trigger"_s), triggers);
    EXPECT_EQ(database().value(u"SELECT COUNT(*) FROM CachedResources WHERE version IS NULL"_s), 2);
    EXPECT_EQ(database().value(u"SELECT lastScanTimestamp IS NULL FROM CacheMetadata"_s), 1);
    EXPECT_EQ(database().status(u"test:old/a"_s), u"Ready"_s);
    EXPECT_EQ(dao.selectStatus(u"test:old/b"_s).value(), ResourceStatus::Missing);
    EXPECT_EQ(dao.lastScanTimestamp().value(), 0);
}

TEST_F(ResourceCacheDaoSchemaTest, open_fileBeforeScans_gainsTheMissingColumnOnly)
{
    load(u"before-scans.sql"_s);
    ASSERT_TRUE(succeeded(dao.open(path())));

    EXPECT_EQ(columns(u"CacheMetadata"_s),
              QStringList({ u"currentSize"_s, u"lastScanTimestamp"_s }));
    EXPECT_EQ(names(u"index"_s), QStringList());
    EXPECT_EQ(names(u"trigger"_s), QStringList());
    const auto resources = dao.selectResources(ResourceStatus::Ready);
    ASSERT_TRUE(succeeded(resources));
    ASSERT_EQ(resources.value().size(), 1);
    EXPECT_EQ(resources.value().first().version, QVersionNumber(2, 1));
}

TEST_F(ResourceCacheDaoSchemaTest, open_fileWithAllColumns_changesNoSchema)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    dao.close();
    const QVariant before = database().value(u"PRAGMA schema_version"_s);
    ASSERT_TRUE(succeeded(dao.open(path())));
    EXPECT_EQ(database().value(u"PRAGMA schema_version"_s), before);
    EXPECT_EQ(database().count(u"CacheMetadata"_s), 1);
}

TEST_F(ResourceCacheDaoSchemaTest, open_tableAbsent_failsAsTheDriverWordsIt)
{
    database().run(u"CREATE TABLE Unrelated (id INTEGER)"_s);
    EXPECT_TRUE(failedInDriver(dao.open(path()), u"no such table: CacheMetadata"_s));
}

TEST_F(ResourceCacheDaoSchemaTest, open_fileWithoutBytes_isInitialised)
{
    writeFile(path(), QByteArray());
    ASSERT_TRUE(succeeded(dao.open(path())));
    EXPECT_EQ(names(u"table"_s).size(), 5);
    EXPECT_EQ(database().count(u"CacheMetadata"_s), 1);
}

TEST_F(ResourceCacheDaoSchemaTest, open_fileLeftWithoutTables_isInitialised)
{
    // What a process leaves that is killed between setting the journal and making the tables.
    database().run(u"PRAGMA journal_mode=WAL"_s);
    ASSERT_GT(QFileInfo(path()).size(), 0);
    ASSERT_TRUE(succeeded(dao.open(path())));
    EXPECT_EQ(names(u"table"_s).size(), 5);
    EXPECT_EQ(names(u"trigger"_s).size(), 5);
    EXPECT_EQ(database().count(u"CacheMetadata"_s), 1);
}

TEST_F(ResourceCacheDaoSchemaTest, sizeTriggers_unknownSize_countsAsNothing)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    insert(u"test:a"_s);
    EXPECT_EQ(currentSize(), 0);
    setSize(u"test:a"_s, 100);
    EXPECT_EQ(currentSize(), 100);
    setSize(u"test:a"_s, 130);
    EXPECT_EQ(currentSize(), 130);
    setSize(u"test:a"_s, QVariant());
    EXPECT_EQ(currentSize(), 0);
}

TEST_F(ResourceCacheDaoSchemaTest, sizeTriggers_insertedAndDeletedWithASize_areCounted)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    database().run(u"INSERT INTO CachedResources (reference, fileSize, status, cleanupPolicy, "
                   "lastAccessDateTime, lastStatusUpdateClientId) "
                   "VALUES ('test:a', 100, 'Ready', 'Never', 1, 1)"_s);
    EXPECT_EQ(currentSize(), 100);
    database().run(u"DELETE FROM CachedResources"_s);
    EXPECT_EQ(currentSize(), 0);
}

TEST_F(ResourceCacheDaoSchemaTest, sizeTriggers_statusUpdate_leavesTheSizeAlone)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    insert(u"test:a"_s);
    setSize(u"test:a"_s, 100);
    database().run(u"UPDATE CachedResources SET status = 'Ready'"_s);
    EXPECT_EQ(currentSize(), 100);
}

TEST_F(ResourceCacheDaoSchemaTest, statusTriggers_readyResource_isTouchedByNeither)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    insert(u"test:a"_s, ResourceStatus::Ready);
    addTask(u"test:a"_s, 1);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    database().run(u"DELETE FROM AcquiringTasks"_s);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
}

TEST_F(ResourceCacheDaoSchemaTest, statusTriggers_firstAndLastTask_scheduleAndGiveUp)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    insert(u"test:a"_s);
    addTask(u"test:a"_s, 1);
    EXPECT_EQ(database().status(u"test:a"_s), u"ScheduledForAcquire"_s);
    addTask(u"test:a"_s, 2);
    database().run(u"UPDATE CachedResources SET status = 'Acquiring'"_s);
    database().run(u"DELETE FROM AcquiringTasks WHERE clientId = 1"_s);
    EXPECT_EQ(database().status(u"test:a"_s), u"Acquiring"_s);
    database().run(u"DELETE FROM AcquiringTasks WHERE clientId = 2"_s);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
}

TEST_F(ResourceCacheDaoSchemaTest, storedStatus_readRaw_isText)
{
    ASSERT_TRUE(succeeded(dao.open(path())));
    insert(u"test:a"_s, ResourceStatus::Ready);
    EXPECT_EQ(database().value(u"SELECT typeof(status) FROM CachedResources"_s), u"text"_s);
    EXPECT_EQ(database().value(u"SELECT status FROM CachedResources"_s), u"Ready"_s);
    EXPECT_EQ(database().value(u"SELECT cleanupPolicy FROM CachedResources"_s), u"OnDemand"_s);
}
