#include "platform/FileSync.h"

#include "FileSteps.h"

#include <QDir>
#include <QTemporaryDir>

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

    int syncsOfRename(const QString &from, const QString &to)
    {
        syncs = 0;
        watchFileSteps(this);
        const Error error = FileSync::renameDurably(at(from), at(to));
        watchFileSteps(nullptr);
        EXPECT_FALSE(error.hasError());
        return syncs;
    }

private:
    int before(const FileStep &step) override
    {
        syncs += step.kind == FileStep::Kind::Sync;
        return 0;
    }

    const QTemporaryDir directory;
    int syncs = 0;
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
