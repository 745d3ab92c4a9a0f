#include "platform/TreeCopyFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

using TreeCopyFileTest = TreeCopyFixture;

TEST_F(TreeCopyFileTest, copyFile_progressRefused_leavesNothing)
{
    writeFile(at(u"s"_s), QByteArray(9'000'000, 'x'));
    writeFile(at(u"former"_s), "former");
    const auto refuse = [](qint64 bytes) {
        return bytes == 0;
    };
    EXPECT_EQ(TreeCopy::copyFile(at(u"s"_s), at(u"t"_s), {}, refuse).errorCode(),
              ErrorCode::Canceled);
    EXPECT_EQ(TreeCopy::copyFile(at(u"s"_s), at(u"former"_s), replacing(), refuse).errorCode(),
              ErrorCode::Canceled);
    EXPECT_EQ(readFile(at(u"former"_s)), "former");
    EXPECT_EQ(entryCount(), 2);
}

TEST_F(TreeCopyFileTest, copyFile_variousSources_followsLinksAndRefusesFolders)
{
    writeFile(at(u"real"_s), "x");
    setTime(u"real"_s, 1'000'000'000);
    link("real", u"link"_s);
    ASSERT_FALSE(TreeCopy::copyFile(at(u"link"_s), at(u"t"_s), {}).hasError());
    EXPECT_EQ(readFile(at(u"t"_s)), "x");
    EXPECT_FALSE(QFileInfo(at(u"t"_s)).isSymLink());
    EXPECT_EQ(timeOf(u"t"_s).first, 1'000'000'000);

    const Error again = TreeCopy::copyFile(at(u"link"_s), at(u"t"_s), {});
    EXPECT_TRUE(again.errorMessage().contains(at(u"t"_s)));
    ASSERT_TRUE(QDir().mkpath(at(u"folder"_s)));
    EXPECT_TRUE(TreeCopy::copyFile(at(u"folder"_s), at(u"u"_s), {}).hasError());
    EXPECT_TRUE(TreeCopy::copyFile(at(u"missing"_s), at(u"u"_s), {}).hasError());
    EXPECT_TRUE(TreeCopy::copyFile(at(u"real"_s), at(u"no/parent"_s), {}).hasError());
    EXPECT_TRUE(TreeCopy::copyFile(at(u"real"_s), at(u"folder"_s), replacing()).hasError());
    EXPECT_FALSE(QFileInfo::exists(at(u"u"_s)));
    EXPECT_EQ(entryCount(), 4);
}

TEST_F(TreeCopyFileTest, copyFile_ontoItself_keepsTheContent)
{
    writeFile(at(u"s"_s), "content");
    EXPECT_FALSE(TreeCopy::copyFile(at(u"s"_s), at(u"s"_s), replacing()).hasError());
    EXPECT_EQ(readFile(at(u"s"_s)), "content");
}

TEST_F(TreeCopyFileTest, copyFile_systemFileWithoutSize_isReadToItsEnd)
{
    ASSERT_FALSE(TreeCopy::copyFile(u"/proc/self/cmdline"_s, at(u"t"_s), {}).hasError());
    EXPECT_GT(QFileInfo(at(u"t"_s)).size(), 0);
}

TEST_F(TreeCopyFileTest, copyFile_diskFull_failsAndLeavesNothing)
{
    writeFile(at(u"s"_s), manyBytes(3'000'000));
    EXPECT_TRUE(withShortFiles(1'000'000, [&] {
        const Error error = TreeCopy::copyFile(at(u"s"_s), at(u"t"_s), {});
        return error.errorCode() == ErrorCode::OperationFailed
            && error.errorMessage().contains(at(u"t"_s));
    }));
    EXPECT_FALSE(QFileInfo::exists(at(u"t"_s)));
}
