#include "AssociatedResourcesProviderInterface.h"
#include "support/ManagerFixture.h"

#include <QDateTime>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using FileType = ExtendableEnum<FileTypes::FileTypeData>;

/// A handler that always has its data, at a path of the test's choice.
class PlacedHandler : public LocalTestHandler
{
public:
    PlacedHandler(const QString &name, const Result<PathImpl<PathType::Unknown>> &path,
                  const QString &prefix = u"test"_s)
        : LocalTestHandler(testReference(name, prefix))
    {
        script.localPath = path;
    }
    bool isAvailableLocally() const override { return true; }
};

QT_WARNING_PUSH
QT_WARNING_DISABLE_GCC("-Wnon-virtual-dtor")
QT_WARNING_DISABLE_CLANG("-Wnon-virtual-dtor")
/// The notes that a host's own program leaves beside a file.
class HostsNotes final : public AssociatedResourcesProviderInterface
{
public:
    QList<QString> getAssociatedResources(const QString &path) const override
    {
        return { path + u".notes"_s };
    }
};
QT_WARNING_POP

class ResourceManagerFileSizesTest : public ManagerFixture
{
protected:
    using List = QList<QSharedPointer<ResourceHandler>>;

    /// Fetches a resource of 4 bytes named like this.
    QSharedPointer<RemoteTestHandler> fetched(const QString &name, const QString &fileName)
    {
        script(name).cacheFileName = name + u'/' + fileName;
        auto remote = handler(name);
        EXPECT_TRUE(succeeds(ResourceManager::retrieve(remote)));
        EXPECT_EQ(storedSize(name), 4);
        return remote;
    }
    QString inCache(const QString &name, const QString &fileName) const
    {
        return u"%1/test/%2/%3"_s.arg(directory.dataDir(), name, fileName);
    }
    qint64 storedSize(const QString &name) const
    {
        return database()
            .value(u"SELECT fileSize FROM CachedResources WHERE reference = ?"_s, { key(name) })
            .toLongLong();
    }
    static void addHostsNotes()
    {
        static const FileType notesType("HOSTS_NOTES"_L1, { { u"mzml"_s } });
        ResourceManager::addAssociatedResourcesProvider(
            notesType, [] { return std::make_unique<HostsNotes>(); });
    }
    /// What another program has left: a resource of 4 bytes, and no scan so far.
    void makeReadyBefore(const QString &name, const QString &fileName) const
    {
        const QString path = inCache(name, fileName);
        writeFile(path, "1234");
        ResourceCache before;
        before.setFullScanInterval(std::chrono::days(1000000));
        const auto settings = settingsFor(directory.baseDir());
        EXPECT_TRUE(succeeds(before.open(settings.cachePath, settings.sizes)));
        EXPECT_TRUE(succeeds(before.add(key(name), ResourceCleanupPolicy::OnDemand)));
        EXPECT_TRUE(succeeds(before.saveLocalPath(key(name), path, 4)));
        EXPECT_TRUE(succeeds(before.saveStatus(key(name), ResourceStatus::Ready)));
    }
    /// A handler of a resource that the cache has no row of, its data inside the cache.
    QSharedPointer<ResourceHandler> withoutRow(const QString &name) const
    {
        return QSharedPointer<PlacedHandler>::create(
            name, PathImpl<PathType::Unknown>(inCache(name, u"file"_s)));
    }
    static QString noRow(const QString &name)
    {
        return u"Could not find resource \"%1\" with status \"Ready\""_s.arg(key(name));
    }
};

} // namespace

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_emptyList_succeeds)
{
    EXPECT_TRUE(succeeds(ResourceManager::updateFileSizes({})));
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_nullHandler_isABadArgument)
{
    EXPECT_TRUE(failsWith(ResourceManager::updateFileSizes({ nullptr }), ErrorCode::BadArgument));
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_cachedResource_storesItsSizeOfNow)
{
    const auto remote = fetched(u"a"_s, u"a.dat"_s);
    const auto other = fetched(u"b"_s, u"b.dat"_s);
    writeFile(inCache(u"a"_s, u"a.dat"_s), QByteArray(10, 'x'));
    writeFile(inCache(u"b"_s, u"b.dat"_s), QByteArray(10, 'x'));
    EXPECT_TRUE(succeeds(ResourceManager::updateFileSizes({ remote })));
    EXPECT_EQ(storedSize(u"a"_s), 10);
    EXPECT_EQ(storedSize(u"b"_s), 4);
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_msDataWithSideFiles_countsThem)
{
    const auto remote = fetched(u"a"_s, u"a.mzML"_s);
    writeFile(inCache(u"a"_s, u"a.mzML.ms1.cache"_s), QByteArray(100, 'x'));
    writeFile(inCache(u"a"_s, u"a.mzML.data.cache"_s), QByteArray(1000, 'x'));
    writeFile(inCache(u"a"_s, u"a.mzML.other"_s), QByteArray(10000, 'x'));
    EXPECT_TRUE(succeeds(ResourceManager::updateFileSizes({ remote })));
    EXPECT_EQ(storedSize(u"a"_s), 1104);
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_noMsData_hasNoSideFiles)
{
    const auto remote = fetched(u"a"_s, u"a.txt"_s);
    writeFile(inCache(u"a"_s, u"a.txt.ms1.cache"_s), QByteArray(100, 'x'));
    EXPECT_TRUE(succeeds(ResourceManager::updateFileSizes({ remote })));
    EXPECT_EQ(storedSize(u"a"_s), 4);
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_hostsProviderBesideOurs_countsBoth)
{
    addHostsNotes();
    const auto remote = fetched(u"a"_s, u"a.mzML"_s);
    writeFile(inCache(u"a"_s, u"a.mzML.ms1.cache"_s), QByteArray(100, 'x'));
    writeFile(inCache(u"a"_s, u"a.mzML.notes"_s), QByteArray(1000, 'x'));
    EXPECT_TRUE(succeeds(ResourceManager::updateFileSizes({ remote })));
    EXPECT_EQ(storedSize(u"a"_s), 1104);
}

// The scan starts while the manager is being made: whoever registers later is too late for it.
TEST_F(ResourceManagerFileSizesTest, instance_scanIsDue_countsTheSideFilesOfAllProviders)
{
    makeReadyBefore(u"a"_s, u"a.mzML"_s);
    writeFile(inCache(u"a"_s, u"a.mzML.ms1.cache"_s), QByteArray(100, 'x'));
    writeFile(inCache(u"a"_s, u"a.mzML.notes"_s), QByteArray(1000, 'x'));
    addHostsNotes();
    EXPECT_EQ(ResourceManager::cache()->readCurrentCacheSize().value(), 1104);
    EXPECT_EQ(storedSize(u"a"_s), 1104);
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_schemeFile_neverReachesTheCache)
{
    const auto local = QSharedPointer<PlacedHandler>::create(
        u"a"_s, Result<PathImpl<PathType::Unknown>>(Error(1, u"Must not be asked."_s)), u"near"_s);
    EXPECT_TRUE(succeeds(ResourceManager::updateFileSizes({ local })));
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_notHereOrElsewhere_isLeftOut)
{
    const auto notHere = fetched(u"a"_s, u"a.dat"_s);
    ASSERT_TRUE(QFile::remove(inCache(u"a"_s, u"a.dat"_s)));
    fetched(u"b"_s, u"b.dat"_s);
    const auto elsewhere = QSharedPointer<PlacedHandler>::create(
        u"b"_s, PathImpl<PathType::Unknown>(directory.outside(u"b"_s)));
    database().run(u"UPDATE CachedResources SET fileSize = 7"_s);
    EXPECT_TRUE(succeeds(ResourceManager::updateFileSizes({ notHere, elsewhere })));
    EXPECT_EQ(storedSize(u"a"_s), 7);
    EXPECT_EQ(storedSize(u"b"_s), 7);
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_noPath_endsAtOnce)
{
    const auto remote = fetched(u"a"_s, u"a.dat"_s);
    writeFile(inCache(u"a"_s, u"a.dat"_s), QByteArray(10, 'x'));
    const auto lost = QSharedPointer<PlacedHandler>::create(
        u"b"_s, Result<PathImpl<PathType::Unknown>>(Error(4, u"Lost."_s)));
    const Error error = ResourceManager::updateFileSizes({ withoutRow(u"c"_s), lost, remote });
    EXPECT_TRUE(failsWith(error, ErrorCode::BadData, u"Lost."_s));
    EXPECT_EQ(storedSize(u"a"_s), 4);
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_oneFails_goesOnAndReportsIt)
{
    const auto remote = fetched(u"a"_s, u"a.dat"_s);
    writeFile(inCache(u"a"_s, u"a.dat"_s), QByteArray(10, 'x'));
    EXPECT_TRUE(failsWith(ResourceManager::updateFileSizes({ withoutRow(u"c"_s), remote }),
                          ErrorCode::OperationFailed, noRow(u"c"_s)));
    EXPECT_EQ(storedSize(u"a"_s), 10);
}

TEST_F(ResourceManagerFileSizesTest, updateFileSizes_twoFailAlike_reportsOneError)
{
    EXPECT_TRUE(
        failsWith(ResourceManager::updateFileSizes({ withoutRow(u"c"_s), withoutRow(u"c"_s) }),
                  ErrorCode::OperationFailed, noRow(u"c"_s)));
    EXPECT_TRUE(
        failsWith(ResourceManager::updateFileSizes({ withoutRow(u"d"_s), withoutRow(u"c"_s) }),
                  ErrorCode::OperationFailed, noRow(u"c"_s) + u'\n' + noRow(u"d"_s)));
}

TEST_F(ResourceManagerFileSizesTest, overrideDefaultFullScanInterval_beforeTheFirstUse_holdsAtOpen)
{
    const auto lastScan = [this] {
        return database().value(u"SELECT lastScanTimestamp FROM CacheMetadata"_s);
    };
    ResourceManager::overrideDefaultFullScanInterval(std::chrono::days(3));
    ASSERT_TRUE(ResourceManager::cache()->readCurrentCacheSize().hasValue()); // after the scan
    EXPECT_GT(lastScan().toLongLong(), 0);

    for (const auto &[age, isDue] : { std::pair(2, false), std::pair(3, true) }) {
        ResourceManager::cache()->close();
        const auto then = QDateTime::currentDateTime().addDays(-age).toSecsSinceEpoch();
        database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = ?"_s, { then });
        auto settings = settingsFor(directory.baseDir());
        ASSERT_TRUE(succeeds(ResourceManager::cache()->open(settings.cachePath, settings.sizes)));
        ASSERT_TRUE(ResourceManager::cache()->readCurrentCacheSize().hasValue());
        EXPECT_EQ(lastScan().toLongLong() != then, isDue) << age;
    }
}
