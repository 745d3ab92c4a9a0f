#include "platform/FileSync.h"

#include "FailingStep.h"
#include "platform/FreeSpace.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <functional>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What the code of a failure tells of its reason.
class FileSyncFailureTest : public testing::Test
{
protected:
    FileSyncFailureTest()
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }

    /// Of the work whose only sync, or first one, fails for this reason.
    int codeFor(int reason, const std::function<Error()> &work)
    {
        const FailingStep failing(folder.toStdString(), 0, reason, FailingStep::Lasting::Once,
                                  FileStep::Kind::Sync);
        const Error error = work();
        EXPECT_TRUE(failing.hasFailed());
        return int(error.errorCode());
    }
    void expectCodes(const std::function<Error()> &work)
    {
        EXPECT_EQ(codeFor(ENOSPC, work), FreeSpace::lackingCode);
        EXPECT_EQ(codeFor(EDQUOT, work), FreeSpace::lackingCode);
        EXPECT_EQ(codeFor(EIO, work), int(ErrorCode::OperationFailed));
    }

    const QTemporaryDir directory;
    const QString folder = QFileInfo(directory.path()).canonicalFilePath();
    const QString path = folder + u"/f"_s;
};

} // namespace

TEST_F(FileSyncFailureTest, syncFile_closedFile_hasCode7ForWantOfSpaceOnly)
{
    expectCodes([this] { return FileSync::syncFile(path); });
}

TEST_F(FileSyncFailureTest, syncFile_openFile_hasCode7ForWantOfSpaceOnly)
{
    expectCodes([this] {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return FileSync::syncFile(file);
    });
}

TEST_F(FileSyncFailureTest, syncFile_noRoomForTheBuffer_hasCode7)
{
    QFile full(u"/dev/full"_s);
    ASSERT_TRUE(full.open(QIODevice::WriteOnly));
    ASSERT_EQ(full.write("x"), 1);
    EXPECT_EQ(int(FileSync::syncFile(full).errorCode()), FreeSpace::lackingCode);
}

TEST_F(FileSyncFailureTest, syncDirectory_hasCode7ForWantOfSpaceOnly)
{
    expectCodes([this] { return FileSync::syncDirectory(folder); });
}

TEST_F(FileSyncFailureTest, replaceContent_hasCode7ForWantOfSpaceOnly)
{
    expectCodes([this] { return FileSync::replaceContent(path, "new"); });
}

TEST_F(FileSyncFailureTest, renameDurably_hasCode7ForWantOfSpaceOnly)
{
    QString from = path;
    QString to = folder + u"/g"_s;
    expectCodes([&] {
        const Error error = FileSync::renameDurably(from, to);
        from.swap(to); // only its name did not come to the disk
        return error;
    });
}
