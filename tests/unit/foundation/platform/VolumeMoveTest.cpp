#include "platform/VolumeMove.h"

#include "TemporaryCache.h"
#include "platform/FreeSpace.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class VolumeMoveTest : public ::testing::Test
{
protected:
    std::filesystem::path native(const QString &name) const
    {
        return directory.filePath(name).toStdString();
    }
    QByteArray content(const QString &name) const { return readFile(directory.filePath(name)); }
    void write(const QString &name, const QByteArray &bytes)
    {
        writeFile(directory.filePath(name), bytes);
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(VolumeMoveTest, move_overAFile_replacesIt)
{
    write(u"a"_s, "a");
    write(u"b"_s, "b");
    EXPECT_TRUE(VolumeMove::move(native(u"a"_s), native(u"b"_s)).value());
    EXPECT_EQ(content(u"b"_s), "a");
    EXPECT_FALSE(QFileInfo::exists(directory.filePath(u"a"_s)));
}

TEST_F(VolumeMoveTest, move_overAFullFolder_failsAndNamesBoth)
{
    write(u"a/x"_s, "a");
    write(u"b/y"_s, "b");
    const auto moved = VolumeMove::move(native(u"a"_s), native(u"b"_s));
    ASSERT_FALSE(moved.hasValue());
    EXPECT_TRUE(moved.error().errorMessage().contains(directory.filePath(u"a"_s)));
    EXPECT_TRUE(moved.error().errorMessage().contains(directory.filePath(u"b"_s)));
}

TEST_F(VolumeMoveTest, exchange_fileAndFolder_changePlaces)
{
    write(u"a"_s, "a");
    write(u"b/y"_s, "b");
    const auto exchanged = VolumeMove::exchange(native(u"a"_s), native(u"b"_s));
    ASSERT_TRUE(exchanged.hasValue());
    if (!exchanged.value())
        GTEST_SKIP() << "this volume cannot do that";
    EXPECT_EQ(content(u"b"_s), "a");
    EXPECT_EQ(content(u"a/y"_s), "b");
}

TEST_F(VolumeMoveTest, exchange_withNothing_fails)
{
    write(u"a"_s, "a");
    EXPECT_FALSE(VolumeMove::exchange(native(u"a"_s), native(u"missing"_s)).hasValue());
    EXPECT_EQ(content(u"a"_s), "a");
}

TEST_F(VolumeMoveTest, otherVolume_isToldAndNothingIsDone)
{
    const QTemporaryDir other(u"/dev/shm/zel-move-XXXXXX"_s);
    const auto isSame = FreeSpace::isSameVolume(other.path(), directory.path());
    if (!other.isValid() || !isSame.hasValue() || isSame.value())
        GTEST_SKIP() << "no second volume to write to";
    write(u"a"_s, "a");
    writeFile(other.filePath(u"b"_s), "b");
    const std::filesystem::path there = other.filePath(u"b"_s).toStdString();
    EXPECT_FALSE(VolumeMove::move(native(u"a"_s), there).value());
    EXPECT_FALSE(VolumeMove::exchange(native(u"a"_s), there).value());
    EXPECT_EQ(content(u"a"_s), "a");
    EXPECT_EQ(readFile(other.filePath(u"b"_s)), "b");
}
