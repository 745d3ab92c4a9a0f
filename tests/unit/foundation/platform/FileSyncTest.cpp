#include "platform/FileSync.h"

#include "TemporaryCache.h"
#include "platform/ChildProcess.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FileSyncTest : public testing::Test
{
protected:
    QString at(const QString &name) const { return QDir(directory.path()).filePath(name); }
    int entryCount() const
    {
        const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        return static_cast<int>(QDir(directory.path()).entryList(all).size());
    }

    const QTemporaryDir directory;
};

} // namespace

TEST_F(FileSyncTest, syncFile_openAndClosedFile_succeeds)
{
    QFile file(at(u"f"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write("abc"), 3);
    EXPECT_FALSE(FileSync::syncFile(file).hasError());
    EXPECT_EQ(QFileInfo(at(u"f"_s)).size(), 3); // out of the buffer
    EXPECT_FALSE(FileSync::syncFile(at(u"f"_s)).hasError());
    EXPECT_FALSE(FileSync::syncDirectory(directory.path()).hasError());
}

TEST_F(FileSyncTest, sync_missingPath_failsAndNamesIt)
{
    for (const Error &error :
         { FileSync::syncFile(at(u"no"_s)), FileSync::syncDirectory(at(u"no"_s)) }) {
        EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
        EXPECT_TRUE(error.errorMessage().contains(at(u"no"_s)));
    }
    writeFile(at(u"f"_s), "x");
    EXPECT_TRUE(FileSync::syncDirectory(at(u"f"_s)).hasError());
}

TEST_F(FileSyncTest, syncFile_bufferDoesNotArrive_fails)
{
    EXPECT_TRUE(withShortFiles(10, [&] {
        QFile file(at(u"f"_s));
        return file.open(QIODevice::WriteOnly) && file.write(QByteArray(100, 'x')) == 100
            && FileSync::syncFile(file).errorMessage().contains(at(u"f"_s));
    }));
}

TEST_F(FileSyncTest, replaceContent_newAndExisting_isThereWhole)
{
    EXPECT_FALSE(FileSync::replaceContent(at(u"f"_s), "first").hasError());
    EXPECT_EQ(readFile(at(u"f"_s)), "first");
    ASSERT_EQ(::chmod(QFile::encodeName(at(u"f"_s)).constData(), 0640), 0);
    EXPECT_FALSE(FileSync::replaceContent(at(u"f"_s), "second, longer").hasError());
    EXPECT_EQ(readFile(at(u"f"_s)), "second, longer");
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(at(u"f"_s)).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(entryCount(), 1);
}

TEST_F(FileSyncTest, replaceContent_link_isReplacedAndItsTargetStays)
{
    writeFile(at(u"target"_s), "kept");
    ASSERT_TRUE(QFile::link(at(u"target"_s), at(u"f"_s)));
    EXPECT_FALSE(FileSync::replaceContent(at(u"f"_s), "new").hasError());
    EXPECT_EQ(readFile(at(u"target"_s)), "kept");
    EXPECT_EQ(readFile(at(u"f"_s)), "new");
}

TEST_F(FileSyncTest, replaceContent_diskFull_keepsTheOldContentAndNoRest)
{
    writeFile(at(u"f"_s), "old");
    EXPECT_TRUE(withShortFiles(10, [&] {
        const Error error = FileSync::replaceContent(at(u"f"_s), QByteArray(100, 'x'));
        return error.errorCode() == ErrorCode::OperationFailed
            && error.errorMessage().contains(at(u"f"_s));
    }));
    EXPECT_EQ(readFile(at(u"f"_s)), "old");
    EXPECT_EQ(entryCount(), 1);
}

TEST_F(FileSyncTest, replaceContent_nameOfTheLongestKind_works)
{
    const QString name(255, u'n');
    EXPECT_FALSE(FileSync::replaceContent(at(name), "x").hasError());
    EXPECT_EQ(readFile(at(name)), "x");
    EXPECT_TRUE(FileSync::replaceContent(at(u"no/such/folder"_s), "x").hasError());
}

TEST_F(FileSyncTest, foldersAround_anyFolder_isTheOneAroundItAndThoseInWhichOnesAreMissing)
{
    const QString base = directory.path();
    EXPECT_EQ(FileSync::foldersAround(base), QStringList { QFileInfo(base).path() });
    EXPECT_EQ(FileSync::foldersAround(at(u"a/"_s)), QStringList { base });
    EXPECT_EQ(FileSync::foldersAround(at(u"a/b/c"_s)),
              (QStringList { at(u"a/b"_s), at(u"a"_s), base }));
    ASSERT_TRUE(QDir().mkpath(at(u"a/b"_s)));
    EXPECT_EQ(FileSync::foldersAround(at(u"a/b/c"_s)), QStringList { at(u"a/b"_s) });
    EXPECT_EQ(FileSync::foldersAround(u"/"_s), QStringList { u"/"_s });
}

TEST_F(FileSyncTest, syncDirectories_oneIsMissing_failsAndNamesIt)
{
    EXPECT_FALSE(FileSync::syncDirectories({ directory.path(), u"/"_s }).hasError());
    const Error error = FileSync::syncDirectories({ directory.path(), at(u"no"_s) });
    EXPECT_TRUE(error.errorMessage().contains(at(u"no"_s)));
}

TEST_F(FileSyncTest, renameDurably_fileAndFolder_moves)
{
    writeFile(at(u"a/f"_s), "x");
    ASSERT_TRUE(QDir().mkpath(at(u"b"_s)));
    EXPECT_FALSE(FileSync::renameDurably(at(u"a/f"_s), at(u"b/g"_s)).hasError());
    EXPECT_EQ(readFile(at(u"b/g"_s)), "x");
    EXPECT_FALSE(FileSync::renameDurably(at(u"b"_s), at(u"a"_s)).hasError()); // "a" is empty now
    EXPECT_EQ(readFile(at(u"a/g"_s)), "x");

    const Error error = FileSync::renameDurably(at(u"missing"_s), at(u"c"_s));
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(at(u"missing"_s)));
}
