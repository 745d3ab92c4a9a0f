#include "staging/StagedFile.h"

#include "FailingStep.h"
#include "FileSteps.h"
#include "SyncStarts.h"
#include "TemporaryCache.h"

#include <QFileInfo>

#include <cerrno>
#include <csignal>

#include <sys/resource.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class StagedFileTest : public ::testing::Test
{
protected:
    QString path() const { return directory.filePath(u"file"_s); }
    std::unique_ptr<StagedFile> open()
    {
        auto file = StagedFile::open(path().toStdString());
        EXPECT_TRUE(file.hasValue());
        return std::move(file).value();
    }

    QTemporaryDir directory;
};

/// Nothing reaches the disk, and no file becomes shorter.
class DyingDisk final : public FileStepWatcher
{
public:
    DyingDisk() { watchFileSteps(this); }
    DyingDisk(const DyingDisk &) = delete;
    DyingDisk &operator=(const DyingDisk &) = delete;
    ~DyingDisk() override { watchFileSteps(nullptr); }

private:
    int before(const FileStep &step) override
    {
        const bool fails = step.kind == FileStep::Kind::Sync || step.kind == FileStep::Kind::Resize;
        return fails ? EIO : 0;
    }
};

} // namespace

TEST_F(StagedFileTest, append_goesOnWhereTheFileEnds)
{
    writeFile(path(), "abc");
    const auto file = open();
    EXPECT_EQ(file->size(), 3);
    ASSERT_FALSE(file->append("defg", 4).hasError());
    EXPECT_EQ(file->size(), 7);
    EXPECT_EQ(readFile(path()), "abcdefg");
}

TEST_F(StagedFileTest, truncate_dropsTheRest)
{
    writeFile(path(), "abcdef");
    const auto file = open();
    ASSERT_FALSE(file->truncate(2).hasError());
    ASSERT_FALSE(file->append("X", 1).hasError());
    EXPECT_EQ(readFile(path()), "abX");
}

TEST_F(StagedFileTest, durableBytes_growWithEverySync)
{
    const auto file = open();
    ASSERT_FALSE(file->append("abc", 3).hasError());
    EXPECT_EQ(file->durableBytes(), 0);
    ASSERT_FALSE(file->sync().hasError());
    EXPECT_EQ(file->durableBytes(), 3);
    ASSERT_FALSE(file->truncate(1).hasError());
    EXPECT_EQ(file->durableBytes(), 1);

    const QByteArray piece(1024 * 1024, 'x');
    for (int i = 0; i < 17; ++i)
        ASSERT_FALSE(file->append(piece.constData(), piece.size()).hasError());
    EXPECT_GE(file->durableBytes(), 16 * 1024 * 1024);
}

TEST_F(StagedFileTest, sync_fails_onlyDurableBytesAreLeft)
{
    const auto file = open();
    ASSERT_FALSE(file->append("abc", 3).hasError());
    ASSERT_FALSE(file->sync().hasError());
    ASSERT_FALSE(file->append("lost", 4).hasError());
    {
        const FailingStep failing(directory.path().toStdString(), 0, ENOSPC,
                                  FailingStep::Lasting::Once, FileStep::Kind::Sync);
        EXPECT_EQ(int(file->sync().errorCode()), 7);
    }
    EXPECT_EQ(file->size(), 3);
    ASSERT_FALSE(file->append("de", 2).hasError());
    ASSERT_FALSE(file->sync().hasError());
    EXPECT_EQ(readFile(path()), "abcde");
}

TEST_F(StagedFileTest, append_syncOnTheWayFails_onlyDurableBytesAreLeft)
{
    const auto file = open();
    const QByteArray much(16 * 1024 * 1024, 'x');
    ASSERT_FALSE(file->append(much.constData(), much.size()).hasError());
    const FailingStep failing(directory.path().toStdString(), 0, EIO, FailingStep::Lasting::Once,
                              FileStep::Kind::Sync);
    EXPECT_TRUE(file->append(much.constData(), much.size()).hasError());
    EXPECT_EQ(file->size(), much.size());
    EXPECT_EQ(QFileInfo(path()).size(), much.size());
}

TEST_F(StagedFileTest, sync_failsAndTheFileCannotBecomeShorter_removesIt)
{
    const auto file = open();
    ASSERT_FALSE(file->append("abc", 3).hasError());
    const DyingDisk disk;
    EXPECT_TRUE(file->sync().hasError());
    EXPECT_FALSE(QFileInfo::exists(path()));
}

TEST_F(StagedFileTest, append_muchAtOnce_theDiskBeginsBeforeItIsSynced)
{
    writeFile(path(), "abc");
    const auto file = open();
    const QByteArray piece(300'000, 'x');
    startRecordingSyncStarts();
    for (int i = 0; i < 20; ++i)
        ASSERT_FALSE(file->append(piece.constData(), piece.size()).hasError());
    const std::vector<SyncStart> starts = stopRecordingSyncStarts();

    EXPECT_EQ(file->durableBytes(), 0);
    ASSERT_EQ(starts.size(), 5);
    int64_t end = 3;
    for (const SyncStart &start : starts) {
        EXPECT_EQ(start.offset, end);
        EXPECT_EQ(start.count, 4 * piece.size());
        end += start.count;
    }
    EXPECT_EQ(end, file->size());
}

TEST_F(StagedFileTest, append_little_asksTheDiskForNothing)
{
    const auto file = open();
    startRecordingSyncStarts();
    ASSERT_FALSE(file->append("abc", 3).hasError());
    EXPECT_TRUE(stopRecordingSyncStarts().empty());
}

TEST_F(StagedFileTest, readBack_givesEveryByteInOrder)
{
    QByteArray content;
    for (int i = 0; i < 300'000; ++i)
        content += QByteArray::number(i);
    writeFile(path(), content);
    QByteArray read;
    const Error error = open()->readBack([&](const char *data, qint64 count) {
        read.append(data, count);
        return true;
    });
    EXPECT_FALSE(error.hasError());
    EXPECT_EQ(read, content);
}

TEST_F(StagedFileTest, readBack_stopped_hasCode20)
{
    writeFile(path(), "abc");
    const Error error = open()->readBack([](const char *, qint64) { return false; });
    EXPECT_EQ(error.errorCode(), ErrorCode::Canceled);
}

TEST_F(StagedFileTest, append_notAllTaken_isAFailure)
{
    // A limit on the size of files stands for a volume that takes a part of what it is given.
    struct sigaction former;
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &former);
    rlimit formerLimit;
    getrlimit(RLIMIT_FSIZE, &formerLimit);
    const rlimit limit { 1000, formerLimit.rlim_max };

    const auto file = open();
    const QByteArray piece(1500, 'x');
    setrlimit(RLIMIT_FSIZE, &limit);
    const Error error = file->append(piece.constData(), piece.size());
    setrlimit(RLIMIT_FSIZE, &formerLimit);
    sigaction(SIGXFSZ, &former, nullptr);

    EXPECT_TRUE(error.hasError());
    EXPECT_EQ(file->size(), 0);
}

TEST_F(StagedFileTest, append_fullVolume_hasCode7)
{
    auto file = StagedFile::open("/dev/full");
    if (!file.hasValue())
        GTEST_SKIP() << "no device that is always full";
    const Error error = file.value()->append("abc", 3);
    EXPECT_EQ(int(error.errorCode()), 7);
}
