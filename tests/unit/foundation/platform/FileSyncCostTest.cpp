#include "platform/FileSync.h"

#include "FileSteps.h"
#include "files/FileUtilsGeneric.h"

#include <QDir>
#include <QTemporaryDir>

#include <functional>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Each sync is a wait for the disk: counts them.
class FileSyncCostTest : public testing::Test, private FileStepWatcher
{
protected:
    FileSyncCostTest()
    {
        EXPECT_TRUE(QDir(directory.path()).mkpath(u"a"_s));
        EXPECT_TRUE(QDir(directory.path()).mkpath(u"b"_s));
        QFile file(at(u"a/f"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QString at(const QString &name) const { return directory.filePath(name); }

    /// The folders and files that are synced meanwhile, below the directory.
    QStringList syncedBy(const std::function<Error()> &work)
    {
        synced.clear();
        watchFileSteps(this);
        const Error error = work();
        watchFileSteps(nullptr);
        EXPECT_FALSE(error.hasError());
        return synced;
    }
    qsizetype syncsOfRename(const QString &from, const QString &to)
    {
        return syncedBy([&] { return FileSync::renameDurably(at(from), at(to)); }).size();
    }
    QStringList syncedByMaking(const QString &folder)
    {
        return syncedBy([&] { return FileUtilsGeneric::mkPathDurably(at(folder)); });
    }

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Sync)
            synced << QDir(directory.path()).relativeFilePath(QString::fromStdString(pathOf(step)));
        return 0;
    }

    const QTemporaryDir directory;
    QStringList synced;
};

} // namespace

TEST_F(FileSyncCostTest, renameDurably_withinAFolder_syncsItOnce)
{
    EXPECT_EQ(syncsOfRename(u"a/f"_s, u"a/g"_s), 1);
}

TEST_F(FileSyncCostTest, renameDurably_toAnotherFolder_syncsBoth)
{
    EXPECT_EQ(syncsOfRename(u"a/f"_s, u"b/f"_s), 2);
}

TEST_F(FileSyncCostTest, mkPathDurably_newFolders_syncsEachInWhichThereIsANewName)
{
    EXPECT_EQ(syncedByMaking(u"a/x/y"_s), (QStringList { u"a/x"_s, u"a"_s }));
}

// Whoever made it may not have come to that.
TEST_F(FileSyncCostTest, mkPathDurably_folderIsThere_syncsTheOneAroundIt)
{
    EXPECT_EQ(syncedByMaking(u"a"_s), QStringList { u"."_s });
}
