#include "platform/FreeSpace.h"

#include "TemporaryCache.h"
#include "platform/ChildProcess.h"

#include <QStorageInfo>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(FreeSpaceTest, availableBytes_existingAndComingPaths_givesTheVolumesSpace)
{
    const QTemporaryDir dir;
    const qint64 known = QStorageInfo(dir.path()).bytesAvailable();
    writeFile(dir.filePath(u"file"_s), "x");
    for (const QString &path : { dir.path(), dir.filePath(u"not/yet/there"_s),
                                 dir.filePath(u"file"_s), dir.filePath(u"file/below"_s) }) {
        const auto bytes = FreeSpace::availableBytes(path);
        ASSERT_TRUE(bytes.hasValue()) << qPrintable(path);
        EXPECT_GT(bytes.value(), 0);
        // Other programs of the machine write and remove meanwhile.
        EXPECT_NEAR(static_cast<double>(bytes.value()), static_cast<double>(known), 5e9);
    }
}

TEST(FreeSpaceTest, availableBytes_volumeWithoutSize_countsAsEndless)
{
    const auto bytes = FreeSpace::availableBytes(u"/proc"_s);
    ASSERT_TRUE(bytes.hasValue());
    EXPECT_EQ(bytes.value(), std::numeric_limits<qint64>::max());
}

TEST(FreeSpaceTest, codeOf_tellsWantOfSpaceFromEverythingElse)
{
    for (const int reason : { ENOSPC, EDQUOT })
        EXPECT_EQ(FreeSpace::codeOf({ reason, std::generic_category() }), 7);
    EXPECT_EQ(FreeSpace::codeOf({ ENOSPC, std::system_category() }), 7);
    for (const int reason : { EACCES, EFBIG, EIO })
        EXPECT_EQ(FreeSpace::codeOf({ reason, std::generic_category() }), 1);
}

TEST(FreeSpaceTest, availableBytes_smallVolume_isMeasured)
{
    const QTemporaryDir dir;
    const auto isRight = withVolumeAt(QFile::encodeName(dir.path()), 1'048'576, [&] {
        return FreeSpace::availableBytes(dir.path()).value() <= 1'048'576
            && FreeSpace::availableBytes(dir.filePath(u"a/b"_s)).value() > 900'000;
    });
    if (!isRight)
        GTEST_SKIP() << "no volume can be mounted here";
    EXPECT_TRUE(*isRight);
}

TEST(FreeSpaceTest, isFull_smallVolume_onlyWhenNothingMoreFits)
{
    const QTemporaryDir dir;
    const auto isRight = withVolumeAt(QFile::encodeName(dir.path()), 1'048'576, [&] {
        const bool wasFull = FreeSpace::isFull(dir.path());
        QFile filler(dir.filePath(u"filler"_s));
        const bool isOpen = filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
        while (isOpen && filler.write(QByteArray(4096, 'x')) == 4096) { }
        return isOpen && !wasFull && FreeSpace::isFull(dir.filePath(u"a/b"_s));
    });
    if (!isRight)
        GTEST_SKIP() << "no volume can be mounted here";
    EXPECT_TRUE(*isRight);
}

TEST(FreeSpaceTest, isFull_volumeWithoutSize_isNotFull)
{
    EXPECT_FALSE(FreeSpace::isFull(u"/proc"_s));
    EXPECT_FALSE(FreeSpace::isFull(QString()));
}

TEST(FreeSpaceTest, availableBytes_emptyPath_fails)
{
    EXPECT_EQ(FreeSpace::availableBytes(QString()).error().errorCode(), ErrorCode::OperationFailed);
}
