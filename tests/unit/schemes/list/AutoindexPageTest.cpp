#include "list/AutoindexPage.h"

#include <gtest/gtest.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

TEST(AutoindexPageTest, parse_pageOfAServer_givesFilesAndFolders)
{
    const auto entries = AutoindexPage::parse(R"([
{ "name":"inner", "type":"directory", "mtime":"Wed, 06 Nov 2024 10:20:30 GMT" },
{ "name":"pipe", "type":"other", "mtime":"Wed, 06 Nov 2024 10:20:30 GMT" },
{ "name":"\u00e4 b.raw", "type":"file", "mtime":"Wed, 06 Nov 2024 10:20:31 GMT", "size":80000000001 },
{ "name":"plain", "type":"file" }
])");
    ASSERT_TRUE(entries.hasValue());
    ASSERT_EQ(entries.value().size(), 3);
    EXPECT_TRUE(entries.value().at(0).isFolder);
    EXPECT_EQ(entries.value().at(0).name, u"inner"_s);
    const auto file = entries.value().at(1);
    EXPECT_FALSE(file.isFolder);
    EXPECT_EQ(file.name, u"\u00e4 b.raw"_s);
    EXPECT_EQ(file.size, 80'000'000'001);
    EXPECT_EQ(file.modified, QDateTime({ 2024, 11, 6 }, { 10, 20, 31 }, Qt::UTC));
    EXPECT_EQ(entries.value().at(2).size, std::nullopt);
    EXPECT_FALSE(entries.value().at(2).modified.isValid());
}

TEST(AutoindexPageTest, parse_emptyFolder_hasNoEntries)
{
    EXPECT_EQ(AutoindexPage::parse("[]").value().size(), 0);
}

TEST(AutoindexPageTest, parse_anythingElse_isRefused)
{
    for (const char *text :
         { "", "{}", "<html>", "[1]", "[{}]", "[", R"([{"name":"a","type":"link"}])",
           R"([{"name":"a","type":"file","size":-1}])",
           R"([{"name":"a","type":"file","size":"x"}])",
           R"([{"name":"a","type":"file","size":1.5}])", R"([{"name":"a/b","type":"file"}])",
           R"([{"name":"a/b","type":"directory"}])", "[{\"name\":\"\xff\",\"type\":\"file\"}]" }) {
        EXPECT_EQ(int(AutoindexPage::parse(text).error().errorCode()), int(ErrorCode::BadData))
            << text;
    }
}

TEST(AutoindexPageTest, parse_folderTwice_isRefused)
{
    const QByteArray folder = R"({"name":"a","type":"directory"})";
    const QByteArray file = R"({"name":"b","type":"file"})";
    EXPECT_TRUE(AutoindexPage::parse('[' + folder + ',' + file + ']').hasValue());
    const auto page = AutoindexPage::parse('[' + folder + ',' + file + ',' + folder + ']');
    EXPECT_EQ(int(page.error().errorCode()), int(ErrorCode::BadData));
}

TEST(AutoindexPageTest, parse_moreValuesThanAnyFolderHas_isRefusedBeforeTheyTakeMemory)
{
    for (const QByteArray &value :
         { QByteArray("1"), QByteArray("[1]"), QByteArray("{\"a\":1}") }) {
        const auto page
            = AutoindexPage::parse('[' + (value + ',').repeated(1'000'001) + value + ']');
        EXPECT_EQ(page.error().errorMessage(),
                  u"The server's listing of the folder is too long."_s);
    }
}

TEST(AutoindexPageTest, parse_namesThatLookLikeValues_areNames)
{
    const QByteArray name = QByteArray(R"({[,\"\\)").repeated(30);
    const QByteArray entry = R"({"type":"file","name":")" + name + R"("},)";
    const auto page = AutoindexPage::parse('[' + entry.repeated(20'000).chopped(1) + ']');
    ASSERT_TRUE(page.hasValue()) << page.error().description().toStdString();
    EXPECT_EQ(page.value().size(), 20'000);
    EXPECT_EQ(page.value().constFirst().name, u"{[,\"\\"_s.repeated(30));
}

} // namespace zel::test
