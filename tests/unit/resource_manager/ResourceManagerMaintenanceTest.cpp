#include "AsAnybody.h"
#include "support/ManagerFixture.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqWriter.h"

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A folder in which nobody may remove anything while this lives, root neither. Everybody may look.
class Untouchable
{
public:
    Untouchable(const QString &temporaryFolder, const QString &folder)
        : folder(folder)
        , before(QFile::permissions(folder))
    {
        const auto mayLook = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup
            | QFile::ReadOther | QFile::ExeOther;
        EXPECT_TRUE(QFile::setPermissions(temporaryFolder, mayLook | QFile::WriteOwner));
        EXPECT_TRUE(QFile::setPermissions(folder, mayLook));
        anybody.emplace();
    }
    ~Untouchable()
    {
        anybody.reset();
        QFile::setPermissions(folder, before);
    }
    Untouchable(const Untouchable &) = delete;
    Untouchable &operator=(const Untouchable &) = delete;

    bool isWithinReach() const { return !QDir(folder).isEmpty(); }

private:
    QString folder;
    QFile::Permissions before;
    std::optional<AsAnybody> anybody;
};

class ResourceManagerMaintenanceTest : public ManagerFixture
{
protected:
    static Error deleteResource(const QString &path)
    {
        return TestManager::insideOf(ResourceManager::instance()).deleteResource(path);
    }
    QString inCache(const QString &relativePath) const
    {
        return directory.dataDir() + u'/' + relativePath;
    }
    /// A container at the path whose sample lies in a second folder, which is returned.
    QString makeSparseContainer(const QString &path) const
    {
        const QString source = directory.outside(u"sample"_s);
        const QString target = inCache(u"zacq/short.zacq"_s);
        writeFile(source, "sample content");
        EXPECT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        EXPECT_TRUE(
            succeeds(zacq::ZacqWriter::createFolder(path, source, u"content/run.raw"_s, u"Run"_s)));
        EXPECT_TRUE(succeeds(zacq::Zacq(path).makeSparseZacqBlocking(path, target)));
        EXPECT_TRUE(QFileInfo::exists(target));
        return target;
    }
};

} // namespace

TEST_F(ResourceManagerMaintenanceTest, deleteResource_file_isGone)
{
    writeFile(inCache(u"s/f/file"_s), "x");
    EXPECT_TRUE(succeeds(deleteResource(inCache(u"s/f/file"_s))));
    EXPECT_FALSE(QFileInfo::exists(inCache(u"s/f/file"_s)));
    EXPECT_TRUE(QFileInfo::exists(inCache(u"s/f"_s)));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_folder_isGoneWithAllInIt)
{
    writeFile(inCache(u"s/f/folder/deep/file"_s), "x");
    EXPECT_TRUE(succeeds(deleteResource(inCache(u"s/f/folder"_s))));
    EXPECT_FALSE(QFileInfo::exists(inCache(u"s/f/folder"_s)));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_outsideTheDataDirectory_leavesItAndSucceeds)
{
    writeFile(directory.outside(u"kept"_s), "x");
    writeFile(directory.baseDir() + u"/Cache2/kept"_s, "x");
    EXPECT_TRUE(succeeds(deleteResource(directory.outside(u"kept"_s))));
    EXPECT_TRUE(succeeds(deleteResource(directory.baseDir() + u"/Cache2/kept"_s)));
    EXPECT_TRUE(succeeds(deleteResource(inCache(u"../Cache2/kept"_s))));
    EXPECT_TRUE(succeeds(deleteResource(directory.databasePath())));
    EXPECT_TRUE(QFileInfo::exists(directory.outside(u"kept"_s)));
    EXPECT_TRUE(QFileInfo::exists(directory.baseDir() + u"/Cache2/kept"_s));
    EXPECT_TRUE(QFileInfo::exists(directory.databasePath()));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_theDataDirectoryItself_leavesIt)
{
    writeFile(inCache(u"s/f/file"_s), "x");
    EXPECT_TRUE(succeeds(deleteResource(directory.dataDir())));
    EXPECT_TRUE(QFileInfo::exists(inCache(u"s/f/file"_s)));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_nothingThere_succeeds)
{
    EXPECT_TRUE(succeeds(deleteResource(inCache(u"s/f/nothing"_s))));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_linkToAFolderOutside_removesTheLinkOnly)
{
    writeFile(directory.outside(u"folder/kept"_s), "x");
    ASSERT_TRUE(QDir().mkpath(inCache(u"s/f"_s)));
    ASSERT_TRUE(QFile::link(directory.outside(u"folder"_s), inCache(u"s/f/link"_s)));
    EXPECT_TRUE(succeeds(deleteResource(inCache(u"s/f/link"_s))));
    EXPECT_FALSE(QFileInfo(inCache(u"s/f/link"_s)).isSymLink());
    EXPECT_TRUE(QFileInfo::exists(directory.outside(u"folder/kept"_s)));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_sparseContainer_takesItsSecondFolderAlong)
{
    const QString container = inCache(u"test/a/run.zacq"_s);
    const QString target = makeSparseContainer(container);
    EXPECT_TRUE(succeeds(deleteResource(container)));
    EXPECT_FALSE(QFileInfo::exists(container));
    EXPECT_FALSE(QFileInfo::exists(target));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_sparseContainerNotAllowed_passesTheFailureOn)
{
    const QString container = inCache(u"test/a/run.zacq"_s);
    const QString target = makeSparseContainer(container);
    ASSERT_TRUE(succeeds(deleteResource(inCache(u"test/a/nothing"_s)))); // the manager is there now
    const Untouchable folder(directory.outside({}), container);
    if (!folder.isWithinReach())
        GTEST_SKIP() << "anybody may not come this far";
    const Error expected = zacq::Zacq::remove(container);
    const Error error = deleteResource(container);
    EXPECT_TRUE(failsWith(error, expected.errorCode(), expected.errorMessage()));
    EXPECT_GT(error.trail().size(), expected.trail().size());
    EXPECT_TRUE(QFileInfo::exists(target));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_neitherFileNorFolder_leavesItAndSucceeds)
{
    ASSERT_TRUE(QDir().mkpath(inCache(u"s/f"_s)));
    const QByteArray pipe = QFile::encodeName(inCache(u"s/f/pipe"_s));
    ASSERT_EQ(::mkfifo(pipe.constData(), 0600), 0);
    EXPECT_TRUE(succeeds(deleteResource(inCache(u"s/f/pipe"_s))));
    EXPECT_TRUE(QFileInfo::exists(inCache(u"s/f/pipe"_s)));
}

TEST_F(ResourceManagerMaintenanceTest, retrieve_sparseContainerLeftBehind_takesItsSecondFolderAlong)
{
    script(u"a"_s).cacheFileName = u"a/run.zacq"_s;
    const QString container = inCache(u"test/a/run.zacq"_s);
    const QString target = makeSparseContainer(container);
    EXPECT_TRUE(succeeds(ResourceManager::retrieveAsync(handler(u"a"_s), ResourceHandler::Manual)));
    EXPECT_FALSE(QFileInfo::exists(container));
    EXPECT_FALSE(QFileInfo::exists(target));
}

TEST_F(ResourceManagerMaintenanceTest, deleteResource_notAllowed_namesWhatItCouldNotRemove)
{
    writeFile(inCache(u"s/f/file"_s), "x");
    writeFile(inCache(u"s/f/folder/file"_s), "x");
    ASSERT_TRUE(succeeds(deleteResource(inCache(u"s/f/nothing"_s)))); // the manager is there now
    const Untouchable folder(directory.outside({}), inCache(u"s/f"_s));
    if (!folder.isWithinReach())
        GTEST_SKIP() << "anybody may not come this far";
    EXPECT_TRUE(failsWith(deleteResource(inCache(u"s/f/file"_s)), ErrorCode::OperationFailed,
                          u"Removing the file \"%1\" failed."_s.arg(inCache(u"s/f/file"_s))));
    EXPECT_TRUE(failsWith(deleteResource(inCache(u"s/f/folder"_s)), ErrorCode::OperationFailed,
                          u"Removing the folder \"%1\" failed."_s.arg(inCache(u"s/f/folder"_s))));
}

TEST_F(ResourceManagerMaintenanceTest, retrieve_leftoversThatCannotBeRemoved_endsThere)
{
    const auto remote = handler(u"a"_s);
    writeFile(pathOf(u"a"_s), "x");
    const Untouchable folder(directory.outside({}), QFileInfo(pathOf(u"a"_s)).path());
    if (!folder.isWithinReach())
        GTEST_SKIP() << "anybody may not come this far";
    EXPECT_TRUE(failsWith(ResourceManager::retrieveAsync(remote, ResourceHandler::Manual),
                          ErrorCode::OperationFailed,
                          u"Removing the file \"%1\" failed."_s.arg(pathOf(u"a"_s))));
    EXPECT_EQ(script(u"a"_s).fetchTasks, 0);
}

TEST_F(ResourceManagerMaintenanceTest, sizes_always_areThoseOfTheSettings)
{
    auto settings = settingsFor(directory.baseDir());
    settings.sizes = { 70, 80 };
    ResourceManager::overrideDefaultSettings(settings);
    EXPECT_EQ(ResourceManager::optimalCacheSize().value(), 70);
    EXPECT_EQ(ResourceManager::maxCacheSize().value(), 80);
}

TEST_F(ResourceManagerMaintenanceTest, cleanupPolicyRestriction_afterSetting_isTheCaches)
{
    EXPECT_EQ(ResourceManager::cleanupPolicyRestriction(), ResourceCleanupPolicy::Invalid);
    ResourceManager::setCleanupPolicyRestriction(ResourceCleanupPolicy::OnClose);
    EXPECT_EQ(ResourceManager::cleanupPolicyRestriction(), ResourceCleanupPolicy::OnClose);
    EXPECT_EQ(ResourceManager::cache()->cleanupPolicyRestriction(), ResourceCleanupPolicy::OnClose);

    ASSERT_TRUE(succeeds(ResourceManager::retrieve(testReference(u"a"_s)))); // and let go
    EXPECT_FALSE(QFileInfo::exists(pathOf(u"a"_s)));
}

TEST_F(ResourceManagerMaintenanceTest, purgeOutdatedResources_newMajorVersion_removesTheCopy)
{
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(testReference(u"a"_s))));
    EXPECT_TRUE(succeeds(ResourceManager::purgeOutdatedResources()));
    EXPECT_TRUE(QFileInfo::exists(pathOf(u"a"_s)));
    registerTestSchemes(QVersionNumber(2));
    EXPECT_TRUE(succeeds(ResourceManager::purgeOutdatedResources()));
    EXPECT_FALSE(QFileInfo::exists(pathOf(u"a"_s)));
}

TEST_F(ResourceManagerMaintenanceTest, purgeOutdatedResourcesTask_outdatedOnes_areATask)
{
    const auto none = ResourceManager::purgeOutdatedResourcesTask();
    ASSERT_TRUE(succeeds(none));
    EXPECT_EQ(none.value(), nullptr);

    ASSERT_TRUE(succeeds(ResourceManager::retrieve(testReference(u"a"_s))));
    registerTestSchemes(QVersionNumber(2));
    const auto task = ResourceManager::purgeOutdatedResourcesTask();
    ASSERT_TRUE(succeeds(task));
    ASSERT_NE(task.value(), nullptr);
    task.value()->exec();
    EXPECT_TRUE(succeeds(task.value()->waitForAllFinished(-1)));
    EXPECT_FALSE(QFileInfo::exists(pathOf(u"a"_s)));
}
