#include "platform/NativeFile.h"

#include "TemporaryCache.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class NativeFileTest : public ::testing::Test
{
protected:
    std::filesystem::path path(const char *name) const
    {
        return std::filesystem::path(directory.path().toStdString()) / name;
    }
    NativeFile open(const char *name, NativeFile::Mode mode = NativeFile::Mode::ReadWrite)
    {
        auto file = NativeFile::open(path(name), mode);
        EXPECT_TRUE(file.hasValue());
        return std::move(file).value();
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(NativeFileTest, open_missingForReading_namesPathAndReason)
{
    const auto file = NativeFile::open(path("missing"), NativeFile::Mode::Read);
    ASSERT_FALSE(file.hasValue());
    EXPECT_EQ(file.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(file.error().errorMessage().contains(u"missing"_s));
    EXPECT_TRUE(file.error().errorMessage().contains(u"No such file"_s));
}

TEST_F(NativeFileTest, open_readWrite_keepsWhatIsThere)
{
    writeFile(directory.filePath(u"file"_s), "abc");
    EXPECT_EQ(open("file").size().value(), 3);
    EXPECT_EQ(open("fresh").size().value(), 0);
}

TEST_F(NativeFileTest, writeAt_thenReadAt_givesTheBytes)
{
    NativeFile file = open("file");
    ASSERT_FALSE(file.writeAt(2, "xyz", 3).hasError());
    ASSERT_FALSE(file.sync().hasError());
    char buffer[8] = {};
    EXPECT_EQ(file.readAt(3, buffer, 8).value(), 2);
    EXPECT_EQ(QByteArray(buffer), "yz");
    EXPECT_EQ(file.readAt(5, buffer, 8).value(), 0);
    ASSERT_FALSE(file.truncate(1).hasError());
    EXPECT_EQ(file.size().value(), 1);
}

TEST_F(NativeFileTest, writeAt_openForReading_failsForAnotherReasonThanSpace)
{
    writeFile(directory.filePath(u"file"_s), "abc");
    NativeFile file = open("file", NativeFile::Mode::Read);
    EXPECT_EQ(file.writeAt(0, "x", 1).errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(file.isOutOfSpace());
}

TEST_F(NativeFileTest, writeAt_fullVolume_tellsSo)
{
    auto file = NativeFile::open("/dev/full", NativeFile::Mode::ReadWrite);
    if (!file.hasValue())
        GTEST_SKIP() << "no device that is always full";
    EXPECT_EQ(int(file.value().writeAt(0, "x", 1).errorCode()), 7);
    EXPECT_TRUE(file.value().isOutOfSpace());
}

TEST_F(NativeFileTest, open_nameThatIsNoText_works)
{
    EXPECT_FALSE(open("a\xff").writeAt(0, "x", 1).hasError());
    EXPECT_TRUE(std::filesystem::exists(path("a\xff")));
}

TEST_F(NativeFileTest, move_passesTheFileOn)
{
    NativeFile first = open("file");
    NativeFile second = std::move(first);
    EXPECT_FALSE(second.writeAt(0, "x", 1).hasError());
    second = open("other");
    EXPECT_EQ(second.size().value(), 0);
}

TEST_F(NativeFileTest, syncVolume_fileAndFolder_succeeds)
{
    EXPECT_FALSE(open("file").syncVolume().hasError());
    EXPECT_FALSE(open("", NativeFile::Mode::Read).syncVolume().hasError());
}
