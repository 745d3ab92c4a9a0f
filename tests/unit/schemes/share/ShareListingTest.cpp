#include "share/ShareListing.h"

#include "TemporaryCache.h"

#include <chrono>

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace fs = std::filesystem;

namespace {

class ShareListingTest : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return directory.filePath(name); }
    ShareListing list(const QString &name)
    {
        const auto listing = ShareListing::of(path(name).toStdString(), [] { return false; });
        EXPECT_TRUE(listing.hasValue()) << listing.error().description().toStdString();
        return listing.value();
    }
    Error failure(const QString &name)
    {
        return ShareListing::of(path(name).toStdString(), [] { return false; }).error();
    }
    static QStringList suffixes(const ShareListing &listing)
    {
        QStringList all;
        for (const auto &entry : listing.entries())
            all << QString::fromStdString(entry.suffix);
        return all;
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(ShareListingTest, of_file_isThatFile)
{
    writeFile(path(u"a.raw"_s), "abc");
    const ShareListing listing = list(u"a.raw"_s);
    EXPECT_FALSE(listing.isFolder());
    EXPECT_EQ(suffixes(listing), QStringList { u""_s });
    EXPECT_EQ(listing.totalBytes(), 3);
}

TEST_F(ShareListingTest, of_folder_hasAllInItParentsFirst)
{
    writeFile(path(u"run.d/b/file"_s), "12345");
    writeFile(path(u"run.d/a"_s), "123");
    ASSERT_TRUE(QDir().mkpath(path(u"run.d/empty"_s)));
    const ShareListing listing = list(u"run.d"_s);
    EXPECT_TRUE(listing.isFolder());
    EXPECT_EQ(suffixes(listing),
              (QStringList { u""_s, u"/a"_s, u"/b"_s, u"/b/file"_s, u"/empty"_s }));
    EXPECT_EQ(listing.totalBytes(), 8);
}

TEST_F(ShareListingTest, of_wiff_bringsTheScanBesideIt)
{
    writeFile(path(u"x.wiff"_s), "1");
    writeFile(path(u"x.wiff.scan"_s), "22");
    writeFile(path(u"x.wiff.txt"_s), "333");
    writeFile(path(u"y.wiff.scan"_s), "4444");
    EXPECT_EQ(suffixes(list(u"x.wiff"_s)), (QStringList { u""_s, u".scan"_s }));

    writeFile(path(u"Z.WIFF"_s), "1");
    writeFile(path(u"Z.WIFF.Scan"_s), "22");
    EXPECT_EQ(suffixes(list(u"Z.WIFF"_s)), (QStringList { u""_s, u".Scan"_s }));
    EXPECT_EQ(suffixes(list(u"x.wiff.scan"_s)), QStringList { u""_s });
}

TEST_F(ShareListingTest, of_wiffWithLinkedScan_followsIt)
{
    writeFile(path(u"x.wiff"_s), "1");
    writeFile(path(u"elsewhere"_s), "22");
    ASSERT_TRUE(QFile::link(path(u"elsewhere"_s), path(u"x.wiff.scan"_s)));
    const ShareListing listing = list(u"x.wiff"_s);
    ASSERT_EQ(listing.entries().size(), 2u);
    EXPECT_EQ(listing.entries().back().kind, ShareListing::Kind::File);
    EXPECT_EQ(listing.totalBytes(), 3);
}

TEST_F(ShareListingTest, of_linksInside_keepsThoseThatStayInside)
{
    writeFile(path(u"run.d/sub/file"_s), "1");
    writeFile(path(u"outside"_s), "1");
    const auto link = [&](const char *target, const QString &name) {
        fs::create_symlink(target, path(u"run.d/"_s + name).toStdString());
    };
    link("sub/file", u"in"_s);
    link("../sub", u"sub/up"_s);
    link("../outside", u"out"_s);
    link("../../outside", u"sub/out"_s);
    link("/etc", u"absolute"_s);
    link("sub/../../outside", u"detour"_s);
    link("..", u"parent"_s);
    const ShareListing listing = list(u"run.d"_s);
    EXPECT_EQ(suffixes(listing),
              (QStringList { u""_s, u"/in"_s, u"/sub"_s, u"/sub/file"_s, u"/sub/up"_s }));
    EXPECT_EQ(listing.leftOut(), 5);
}

TEST_F(ShareListingTest, of_specialFiles_leavesThemOut)
{
    writeFile(path(u"run.d/file"_s), "1");
    ASSERT_EQ(mkfifo(path(u"run.d/pipe"_s).toLocal8Bit().constData(), 0600), 0);
    const ShareListing listing = list(u"run.d"_s);
    EXPECT_EQ(suffixes(listing), (QStringList { u""_s, u"/file"_s }));
    EXPECT_EQ(listing.leftOut(), 1);
    EXPECT_TRUE(failure(u"run.d/pipe"_s).hasError());
}

TEST_F(ShareListingTest, of_linkItself_isFollowed)
{
    writeFile(path(u"run.d/file"_s), "123");
    ASSERT_TRUE(QFile::link(path(u"run.d"_s), path(u"link"_s)));
    EXPECT_EQ(list(u"link"_s).totalBytes(), 3);
}

TEST_F(ShareListingTest, of_namesThatAreNoText_areTaken)
{
    ASSERT_TRUE(QDir().mkpath(path(u"run.d"_s)));
    std::FILE *file = std::fopen((path(u"run.d"_s).toStdString() + "/a\xff").c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    const ShareListing listing = list(u"run.d"_s);
    ASSERT_EQ(listing.entries().size(), 2u);
    EXPECT_EQ(listing.entries().back().suffix, "/a\xff");
}

TEST_F(ShareListingTest, of_nothing_hasCode1AndNamesIt)
{
    const Error error = failure(u"missing.raw"_s);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u"missing.raw"_s));
}

TEST_F(ShareListingTest, of_canceled_hasCode20)
{
    writeFile(path(u"run.d/file"_s), "123");
    const auto listing = ShareListing::of(path(u"run.d"_s).toStdString(), [] { return true; });
    EXPECT_EQ(listing.error().errorCode(), ErrorCode::Canceled);
}

TEST_F(ShareListingTest, validator_sameState_isTheSame)
{
    writeFile(path(u"run.d/a"_s), "123");
    const ShareListing listing = list(u"run.d"_s);
    EXPECT_EQ(listing.validator(), list(u"run.d"_s).validator());
    EXPECT_EQ(listing.validator(), ShareListing::validatorOf(path(u"run.d"_s).toStdString(), [] {
                                       return false;
                                   }).value());
}

TEST_F(ShareListingTest, validator_anyChange_isAnother)
{
    const fs::path file = path(u"run.d/a"_s).toStdString();
    writeFile(path(u"run.d/a"_s), "123");
    writeFile(path(u"run.d/b"_s), "123");
    const QString before = list(u"run.d"_s).validator();

    const auto time = fs::last_write_time(file);
    fs::last_write_time(file, time + std::chrono::milliseconds(1));
    const QString touched = list(u"run.d"_s).validator();
    EXPECT_NE(touched, before);

    writeFile(path(u"run.d/a"_s), "1234");
    fs::last_write_time(file, time);
    EXPECT_NE(list(u"run.d"_s).validator(), before);

    writeFile(path(u"run.d/a"_s), "123");
    fs::last_write_time(file, time);
    writeFile(path(u"run.d/c"_s), "");
    EXPECT_NE(list(u"run.d"_s).validator(), before);
}
