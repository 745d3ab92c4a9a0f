#include "RemoteResourceHandler.h"

#include "LogCapture.h"
#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class RemoteResourceHandlerTest : public ManagerFixture
{
protected:
    QVariant rowValue(const QString &column, const QString &name) const
    {
        return database().value(u"SELECT %1 FROM CachedResources WHERE reference = ?"_s.arg(column),
                                { key(name) });
    }
    /// A file outside the cache.
    QString source(const QString &name, const QByteArray &content) const
    {
        writeFile(directory.outside(name), content);
        return directory.outside(name);
    }
    static void whileClosed(const std::function<void()> &work)
    {
        ResourceCache &cache = *ResourceManager::cache();
        cache.close();
        work();
        ASSERT_TRUE(succeeds(cache.open(ResourceManager::cachePath(), cache.sizes())));
    }
    /// A closed cache writes no row.
    void addWithoutARow(RemoteResourceHandler *remote, const QByteArray &content) const
    {
        const PathImpl<PathType::Unknown> file(source(u"file"_s, content));
        whileClosed([&] { EXPECT_TRUE(remote->addToCache(file).hasError()); });
    }
};

using UnknownPath = PathImpl<PathType::Unknown>;

} // namespace

TEST_F(RemoteResourceHandlerTest, constructor_unknownResource_entersItAndMarksItAsUsed)
{
    const auto remote = handler(u"a"_s);
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
}

TEST_F(RemoteResourceHandlerTest, destructor_always_endsTheUsage)
{
    auto remote = handler(u"a"_s);
    remote.reset();
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
}

TEST_F(RemoteResourceHandlerTest, isAvailableLocally_cacheOpenedAnew_marksItAsUsedAgain)
{
    const auto remote = handler(u"a"_s);
    ResourceCache &cache = *ResourceManager::cache();
    cache.close();
    ASSERT_TRUE(succeeds(cache.open(ResourceManager::cachePath(), cache.sizes())));
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);

    EXPECT_FALSE(remote->isAvailableLocally());
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
    EXPECT_FALSE(remote->isAvailableLocally());
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
}

TEST_F(RemoteResourceHandlerTest, constructor_closedCache_livesUnmarked)
{
    ResourceManager::cache()->close();
    const LogCapture log;
    const RemoteTestHandler remote(testReference(u"a"_s), ResourceManager::cache());
    EXPECT_FALSE(log.texts(QtWarningMsg).isEmpty());
    EXPECT_TRUE(succeeds(remote.localPath()));
    EXPECT_FALSE(remote.isAvailableLocally());
}

TEST_F(RemoteResourceHandlerTest, isAvailableLocally_cacheOpenedSinceTheConstructor_marksItAsUsed)
{
    ResourceCache &cache = *ResourceManager::cache();
    cache.close();
    const RemoteTestHandler remote(testReference(u"a"_s), &cache);
    ASSERT_TRUE(succeeds(cache.open(ResourceManager::cachePath(), cache.sizes())));
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);

    EXPECT_FALSE(remote.isAvailableLocally());
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
}

TEST_F(RemoteResourceHandlerTest, cleanupPolicy_afterSetting_isStored)
{
    const auto remote = handler(u"a"_s);
    EXPECT_EQ(remote->cleanupPolicy().value(), ResourceCleanupPolicy::OnDemand);
    EXPECT_TRUE(succeeds(remote->setCleanupPolicy(ResourceCleanupPolicy::Never)));
    EXPECT_EQ(remote->cleanupPolicy().value(), ResourceCleanupPolicy::Never);
}

TEST_F(RemoteResourceHandlerTest, localPath_percentSignsInTheName_areKept)
{
    script(u"a"_s).cacheFileName = u"%1/100%2 %L3.raw"_s;
    EXPECT_EQ(handler(u"a"_s)->localPath().value().toString(),
              directory.dataDir() + u"/test/%1/100%2 %L3.raw"_s);
}

TEST_F(RemoteResourceHandlerTest, localPath_untidyName_isCleaned)
{
    script(u"a"_s).cacheFileName = u"x//./y/"_s;
    EXPECT_EQ(handler(u"a"_s)->localPath().value().toString(),
              directory.dataDir() + u"/test/x/y"_s);
}

TEST_F(RemoteResourceHandlerTest, localPath_cacheMovesMeanwhile_followsIt)
{
    const auto remote = handler(u"a"_s);
    EXPECT_EQ(remote->localPath().value().toString(), pathOf(u"a"_s));
    const TemporaryCache other;
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(other.baseDir()))));
    EXPECT_EQ(remote->localPath().value().toString(), other.dataDir() + u"/test/a/a.dat"_s);
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(directory.baseDir()))));
}

TEST_F(RemoteResourceHandlerTest, addToCache_firstAfterAMove_isStoredAndInUseOverThere)
{
    const auto remote = handler(u"a"_s);
    const TemporaryCache other;
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(other.baseDir()))));
    EXPECT_TRUE(succeeds(remote->addToCache(UnknownPath(source(u"file"_s, "12345")))));
    CacheDatabase there(other.databasePath());
    EXPECT_EQ(there.status(key(u"a"_s)), u"Ready"_s);
    EXPECT_EQ(there.count(u"ResourceUsages"_s), 1);
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(directory.baseDir()))));
}

TEST_F(RemoteResourceHandlerTest, cleanupPolicy_firstAfterAMove_isStoredOverThere)
{
    const auto remote = handler(u"a"_s);
    const auto read = handler(u"b"_s);
    const TemporaryCache other;
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(other.baseDir()))));
    EXPECT_TRUE(succeeds(read->cleanupPolicy()));
    EXPECT_TRUE(succeeds(remote->setCleanupPolicy(ResourceCleanupPolicy::OnClose)));
    EXPECT_EQ(remote->cleanupPolicy().value(), ResourceCleanupPolicy::OnClose);
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(directory.baseDir()))));
}

TEST_F(RemoteResourceHandlerTest, isAvailableLocally_readyAndThere_isTrue)
{
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(remote->addToCache(UnknownPath(source(u"file"_s, "12345")))));
    EXPECT_TRUE(remote->isAvailableLocally());
}

TEST_F(RemoteResourceHandlerTest, isAvailableLocally_readyButDeletedByHand_isFalse)
{
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(remote->addToCache(UnknownPath(source(u"file"_s, "12345")))));
    ASSERT_TRUE(QFile::remove(pathOf(u"a"_s)));
    EXPECT_FALSE(remote->isAvailableLocally());
}

TEST_F(RemoteResourceHandlerTest, isAvailableLocally_wholeFileThatIsNotReady_isFalse)
{
    const auto remote = handler(u"a"_s);
    writeFile(pathOf(u"a"_s), "12345");
    EXPECT_FALSE(remote->isAvailableLocally());
    ASSERT_TRUE(
        succeeds(ResourceManager::cache()->saveStatus(key(u"a"_s), ResourceStatus::Acquiring)));
    EXPECT_FALSE(remote->isAvailableLocally());
}

TEST_F(RemoteResourceHandlerTest, retrieveTask_fetchable_makesTheTargetDirectory)
{
    const auto remote = handler(u"a"_s);
    const auto task = remote->retrieveTask();
    ASSERT_TRUE(task.has_value());
    EXPECT_TRUE((*task)->isIdle());
    EXPECT_EQ(remote->lastTargetDirectory, directory.dataDir() + u"/test/a"_s);
    EXPECT_TRUE(QFileInfo(remote->lastTargetDirectory).isDir());
    EXPECT_FALSE(QFileInfo::exists(pathOf(u"a"_s)));
    EXPECT_EQ(script(u"a"_s).fetches, 0);
}

TEST_F(RemoteResourceHandlerTest, retrieveTask_run_fetchesAndRecordsVersionAndSize)
{
    registerTestSchemes(QVersionNumber(7, 2));
    const auto remote = handler(u"a"_s);
    auto task = remote->retrieveTask();
    ASSERT_TRUE(task.has_value());
    (*task)->exec();
    EXPECT_TRUE(succeeds((*task)->waitForAllFinished(-1)));
    EXPECT_TRUE(remote->isAvailableLocally());
    EXPECT_EQ(rowValue(u"version"_s, u"a"_s).toString(), u"7.2"_s);
    EXPECT_EQ(rowValue(u"fileSize"_s, u"a"_s).toLongLong(), 4);
    EXPECT_EQ((*task)->progressText(), u"Retrieving the resource a"_s);
}

TEST_F(RemoteResourceHandlerTest, retrieveTask_notFetchable_isEmptyAndLeavesNoHandle)
{
    script(u"a"_s).isFetchable = false;
    const auto remote = handler(u"a"_s);
    // A handle that ends takes the row of this process along.
    database().run(u"INSERT INTO AcquiringTasks(resourceId, clientId) "
                   "SELECT r.id, c.id FROM CachedResources r, Clients c"_s);
    ASSERT_EQ(database().count(u"AcquiringTasks"_s), 1);
    EXPECT_FALSE(remote->retrieveTask().has_value());
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);
}

TEST_F(RemoteResourceHandlerTest, retrieveTask_targetDirectoryCannotBeMade_isEmptyAndLogged)
{
    const auto remote = handler(u"a"_s);
    writeFile(directory.dataDir() + u"/test"_s, "a file in the way");
    const LogCapture log;
    EXPECT_FALSE(remote->retrieveTask().has_value());
    EXPECT_FALSE(log.texts(QtWarningMsg).isEmpty());
    EXPECT_EQ(script(u"a"_s).fetchTasks, 0);
}

TEST_F(RemoteResourceHandlerTest, addToCache_file_copiesItAndMarksItReady)
{
    registerTestSchemes(QVersionNumber(2, 1));
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(remote->addToCache(UnknownPath(source(u"file"_s, "12345")))));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "12345");
    EXPECT_EQ(database().status(key(u"a"_s)), u"Ready"_s);
    EXPECT_EQ(rowValue(u"fileSize"_s, u"a"_s).toLongLong(), 5);
    EXPECT_EQ(rowValue(u"cachedPath"_s, u"a"_s).toString(), pathOf(u"a"_s));
    EXPECT_EQ(rowValue(u"version"_s, u"a"_s).toString(), u"2.1"_s);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);
}

TEST_F(RemoteResourceHandlerTest, addToCache_fileOverAnExistingOne_failsAndKeepsTheStatus)
{
    const auto remote = handler(u"a"_s);
    writeFile(pathOf(u"a"_s), "old");
    EXPECT_TRUE(failsWith(remote->addToCache(UnknownPath(source(u"file"_s, "new"))),
                          ErrorCode::OperationFailed,
                          u"Copying a file to the cache location failed."_s));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "old");
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);
}

TEST_F(RemoteResourceHandlerTest, addToCache_rowCannotBeWritten_leavesTheCopyThatTheNextReplaces)
{
    const auto remote = handler(u"a"_s);
    addWithoutARow(remote.get(), "first");
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "first");
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);

    ASSERT_TRUE(succeeds(remote->addToCache(UnknownPath(source(u"file"_s, "as it is now")))));
    EXPECT_TRUE(remote->isAvailableLocally());
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "as it is now");
    EXPECT_EQ(rowValue(u"fileSize"_s, u"a"_s).toLongLong(), 12);

    // From then on it is one that is there already.
    EXPECT_TRUE(failsWith(remote->addToCache(UnknownPath(source(u"file"_s, "once more"))),
                          ErrorCode::OperationFailed,
                          u"Copying a file to the cache location failed."_s));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "as it is now");
}

TEST_F(RemoteResourceHandlerTest, addToCache_anotherFileCameAfterTheFailure_isNotOverwritten)
{
    const auto remote = handler(u"a"_s);
    addWithoutARow(remote.get(), "first");
    ASSERT_TRUE(QFile::remove(pathOf(u"a"_s)));
    writeFile(pathOf(u"a"_s), "of somebody else");
    EXPECT_TRUE(failsWith(remote->addToCache(UnknownPath(source(u"file"_s, "first"))),
                          ErrorCode::OperationFailed,
                          u"Copying a file to the cache location failed."_s));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "of somebody else");
}

TEST_F(RemoteResourceHandlerTest, addToCache_otherHandlerAfterTheFailure_overwritesNothing)
{
    addWithoutARow(handler(u"a"_s).get(), "first");
    EXPECT_TRUE(failsWith(handler(u"a"_s)->addToCache(UnknownPath(source(u"file"_s, "next"))),
                          ErrorCode::OperationFailed,
                          u"Copying a file to the cache location failed."_s));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "first");
}

TEST_F(RemoteResourceHandlerTest, addToCache_folderWhoseRowCannotBeWritten_canBeAddedAgain)
{
    writeFile(directory.outside(u"tree/one"_s), "12");
    const UnknownPath tree(directory.outside(u"tree"_s));
    const auto remote = handler(u"a"_s);
    whileClosed([&] { EXPECT_TRUE(remote->addToCache(tree).hasError()); });
    ASSERT_TRUE(succeeds(remote->addToCache(tree)));
    EXPECT_EQ(readFile(pathOf(u"a"_s) + u"/one"_s), "12");
    EXPECT_TRUE(remote->isAvailableLocally());
}

TEST_F(RemoteResourceHandlerTest, addToCache_fileThatCannotTakeItsPlace_leavesNothingAndIsLogged)
{
    script(u"a"_s).cacheFileName = u"a/"_s + QString(300, u'x'); // longer than any name
    const auto remote = handler(u"a"_s);
    const LogCapture log;
    EXPECT_TRUE(failsWith(remote->addToCache(UnknownPath(source(u"file"_s, "1"))),
                          ErrorCode::OperationFailed,
                          u"Copying a file to the cache location failed."_s));
    EXPECT_FALSE(log.texts(QtWarningMsg).filter(QString(300, u'x')).isEmpty());
    EXPECT_TRUE(QDir(directory.dataDir() + u"/test/a"_s)
                    .isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

TEST_F(RemoteResourceHandlerTest, addToCache_remainsOfACopyThatWasKilled_areReplaced)
{
    const auto remote = handler(u"a"_s);
    const QString remains = QFileInfo(pathOf(u"a"_s)).path() + u"/.adding-999999999-7-1"_s;
    writeFile(remains, "half");
    EXPECT_TRUE(succeeds(remote->addToCache(UnknownPath(source(u"file"_s, "whole")))));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "whole");
    EXPECT_FALSE(QFileInfo::exists(remains));
}

TEST_F(RemoteResourceHandlerTest, addToCache_folder_recordsTheSizeOfItsWholeContent)
{
    writeFile(directory.outside(u"tree/one"_s), "12");
    writeFile(directory.outside(u"tree/deep/er/two"_s), "345");
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(remote->addToCache(UnknownPath(directory.outside(u"tree"_s)))));
    EXPECT_EQ(readFile(pathOf(u"a"_s) + u"/deep/er/two"_s), "345");
    EXPECT_EQ(rowValue(u"fileSize"_s, u"a"_s).toLongLong(), 5);
    EXPECT_TRUE(remote->isAvailableLocally());
}

TEST_F(RemoteResourceHandlerTest, addToCache_folderOverAnExistingOne_replacesItsFiles)
{
    writeFile(directory.outside(u"tree/one"_s), "new");
    writeFile(pathOf(u"a"_s) + u"/one"_s, "old and longer");
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(remote->addToCache(UnknownPath(directory.outside(u"tree"_s)))));
    EXPECT_EQ(readFile(pathOf(u"a"_s) + u"/one"_s), "new");
}

TEST_F(RemoteResourceHandlerTest, addToCache_nothingAtTheSource_isTreatedAsAFolder)
{
    const auto remote = handler(u"a"_s);
    EXPECT_TRUE(failsWith(remote->addToCache(UnknownPath(directory.outside(u"nothing"_s))),
                          ErrorCode::OperationFailed,
                          u"Copying a directory to the cache location failed."_s));
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);
}

TEST_F(RemoteResourceHandlerTest, addToCache_ownCopier_runsInTheMadeDirectory)
{
    const auto remote = handler(u"a"_s);
    const std::function<Error()> copier = [&remote] {
        const QString path = remote->expectedPath().value();
        EXPECT_TRUE(QFileInfo(path).dir().exists());
        writeFile(path, "copied");
        return Error();
    };
    ASSERT_TRUE(succeeds(remote->addToCache(copier)));
    EXPECT_TRUE(remote->isAvailableLocally());
}

TEST_F(RemoteResourceHandlerTest, addToCache_copierFails_leavesTheRowAsItWas)
{
    const auto remote = handler(u"a"_s);
    const std::function<Error()> copier = [] {
        return Error(42, u"no"_s);
    };
    EXPECT_TRUE(failsWith(remote->addToCache(copier), static_cast<ErrorCode>(42), u"no"_s));
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);
    EXPECT_TRUE(rowValue(u"cachedPath"_s, u"a"_s).isNull());
}

TEST_F(RemoteResourceHandlerTest, addToCache_emptyCopier_throwsAsAnEmptyFunctionDoes)
{
    const auto remote = handler(u"a"_s);
    EXPECT_THROW(static_cast<void>(remote->addToCache(std::function<Error()>())),
                 std::bad_function_call);
}

TEST_F(RemoteResourceHandlerTest, addToCache_targetDirectoryCannotBeMade_fails)
{
    const auto remote = handler(u"a"_s);
    writeFile(directory.dataDir() + u"/test"_s, "a file in the way");
    EXPECT_TRUE(failsWith(remote->addToCache(UnknownPath(source(u"file"_s, "1"))),
                          ErrorCode::OperationFailed));
}

TEST_F(RemoteResourceHandlerTest, liveHandler_fullCache_isNotPurged)
{
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(remote->addToCache(UnknownPath(source(u"file"_s, "12345")))));
    auto let = handler(u"b"_s);
    ASSERT_TRUE(succeeds(let->addToCache(UnknownPath(source(u"file2"_s, "12345")))));
    let.reset();
    ASSERT_TRUE(succeeds(ResourceManager::cache()->setSizes({ 1, 2 })));
    EXPECT_TRUE(remote->isAvailableLocally());
    EXPECT_EQ(database().status(key(u"b"_s)), u"Missing"_s);
}
