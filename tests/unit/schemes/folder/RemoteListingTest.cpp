#include "folder/RemoteListing.h"

#include <gtest/gtest.h>

#include <limits>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

RemoteFile file(const QString &path, std::optional<qint64> size = 1)
{
    RemoteFile file;
    file.path = path;
    file.size = size;
    return file;
}

constexpr int badData = int(ErrorCode::BadData);

} // namespace

class RemoteListingRefusalTest : public testing::TestWithParam<QString>
{
};

TEST_P(RemoteListingRefusalTest, addFile_dangerousPath_isRefused)
{
    RemoteListing listing;

    EXPECT_EQ(int(listing.addFile(file(GetParam())).errorCode()), badData);
    EXPECT_EQ(int(listing.addFolder(GetParam()).errorCode()), badData);
    EXPECT_TRUE(listing.files().empty());
    EXPECT_TRUE(listing.folders().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Paths, RemoteListingRefusalTest,
    testing::Values(u""_s, u"/etc/passwd"_s, u"//host/share"_s, u"C:/x"_s, u"c:x"_s, u".."_s,
                    u"../x"_s, u"a/../b"_s, u"a/.."_s, u"."_s, u"./a"_s, u"a/./b"_s, u"a//b"_s,
                    u"a/"_s, u"a\\b"_s, u"..\\x"_s, u"a\nb"_s, u"a\tb"_s, u"a\u007fb"_s,
                    QString(u"a\0b"_s), u"a\u2028b"_s, u"a\ufffdb"_s, QString(QChar(0xd800)),
                    QString(256, u'x'), QString(128, u'\u00e4'),
                    QString(u"abcdefghi/"_s).repeated(300) + u'x', u"a/"_s.repeated(64) + u'a'));

TEST(RemoteListingTest, addFile_ordinaryNames_areTakenIn)
{
    RemoteListing listing;
    for (const QString &path : { u"a b.raw"_s, u".hidden"_s, u"x/y/z"_s, u"12:30"_s, u"\u00e4"_s,
                                 u"..."_s, QString(255, u'x'), u"\U0001F600"_s })
        EXPECT_FALSE(listing.addFile(file(path)).hasError()) << path.toStdString();
    EXPECT_EQ(listing.files().size(), 8u);
    EXPECT_EQ(listing.folders(), (std::set<QString> { u"x"_s, u"x/y"_s }));
}

TEST(RemoteListingTest, addFile_sameNameAgain_isRefusedInAnySpelling)
{
    for (const QString &other :
         { u"Data/\u00e9.bin"_s, u"Data/\u00c9.BIN"_s, u"data/other"_s, u"Data/e\u0301.bin"_s,
           u"Data"_s, u"DATA"_s, u"Data/\u00e9.bin/inside"_s }) {
        RemoteListing listing;
        ASSERT_FALSE(listing.addFile(file(u"Data/\u00e9.bin"_s)).hasError());
        EXPECT_EQ(int(listing.addFile(file(other)).errorCode()), badData) << other.toStdString();
        EXPECT_EQ(listing.files().size(), 1u);
    }
}

TEST(RemoteListingTest, addFolder_besideFiles_onlyOneMayHaveTheName)
{
    RemoteListing listing;
    ASSERT_FALSE(listing.addFolder(u"empty/inner"_s).hasError());
    EXPECT_FALSE(listing.addFolder(u"empty"_s).hasError());
    EXPECT_FALSE(listing.addFile(file(u"empty/inner/a"_s)).hasError());
    EXPECT_EQ(int(listing.addFile(file(u"empty/inner"_s)).errorCode()), badData);
    EXPECT_EQ(int(listing.addFolder(u"empty/inner/a"_s).errorCode()), badData);
    EXPECT_EQ(int(listing.addFolder(u"Empty"_s).errorCode()), badData);
    EXPECT_EQ(listing.folders(), (std::set<QString> { u"empty"_s, u"empty/inner"_s }));
}

TEST(RemoteListingTest, addFile_belowAKnownFolder_isStillLookedAt)
{
    RemoteListing listing;
    ASSERT_FALSE(listing.addFile(file(u"a/b/c/d"_s)).hasError());
    EXPECT_FALSE(listing.addFile(file(u"a/b/e"_s)).hasError());
    EXPECT_FALSE(listing.addFile(file(u"a/b/f/g/h"_s)).hasError());
    for (const QString &path : { u"a/b/C/x"_s, u"a/b/c/d/x"_s, u"a/b/c/D"_s, u"a/b/c"_s, u"A/x"_s })
        EXPECT_EQ(int(listing.addFile(file(path)).errorCode()), badData) << path.toStdString();
    EXPECT_EQ(listing.files().size(), 3u);
    EXPECT_EQ(listing.folders(),
              (std::set<QString> { u"a"_s, u"a/b"_s, u"a/b/c"_s, u"a/b/f"_s, u"a/b/f/g"_s }));
}

TEST(RemoteListingTest, addFile_tooManyEntries_areRefused)
{
    RemoteListing listing;
    for (qsizetype i = 1; i < RemoteListing::mostEntries; ++i)
        ASSERT_FALSE(listing.addFile(file(u"f/%1"_s.arg(i))).hasError());
    EXPECT_EQ(int(listing.addFile(file(u"f/x"_s)).errorCode()), badData);
    EXPECT_EQ(int(listing.addFolder(u"g"_s).errorCode()), badData);
}

TEST(RemoteListingTest, totalBytes_ofKnownSizes_isTheirSum)
{
    RemoteListing listing;
    EXPECT_EQ(listing.totalBytes(), 0);
    ASSERT_FALSE(listing.addFile(file(u"a"_s, 70'000'000'000)).hasError());
    ASSERT_FALSE(listing.addFile(file(u"b"_s, 5)).hasError());
    EXPECT_EQ(listing.totalBytes(), 70'000'000'005);
    ASSERT_FALSE(listing.addFile(file(u"c"_s, std::nullopt)).hasError());
    EXPECT_EQ(listing.totalBytes(), std::nullopt);
}

TEST(RemoteListingTest, addFile_impossibleSizes_areRefused)
{
    RemoteListing listing;
    ASSERT_FALSE(listing.addFile(file(u"a"_s, 5)).hasError());
    EXPECT_EQ(int(listing.addFile(file(u"b"_s, -1)).errorCode()), badData);
    const qint64 most = std::numeric_limits<qint64>::max();
    EXPECT_EQ(int(listing.addFile(file(u"b"_s, most - 4)).errorCode()), badData);
    EXPECT_FALSE(listing.addFile(file(u"b"_s, most - 5)).hasError());
}

TEST(RemoteListingTest, validator_whateverIsTold_tellsStatesApart)
{
    const auto validatorOf = [](const RemoteFile &file) {
        RemoteListing listing;
        EXPECT_FALSE(listing.addFile(file).hasError());
        return listing.validator();
    };
    std::set<QString> seen { RemoteListing().validator() };
    RemoteFile entry = file(u"a"_s, std::nullopt);
    EXPECT_TRUE(seen.insert(validatorOf(entry)).second);
    entry.size = 0;
    EXPECT_TRUE(seen.insert(validatorOf(entry)).second);
    entry.etag = "\"1\"";
    EXPECT_TRUE(seen.insert(validatorOf(entry)).second);
    entry.modified = QDateTime::fromSecsSinceEpoch(0);
    EXPECT_TRUE(seen.insert(validatorOf(entry)).second);
    entry.hash.digest = QByteArray(32, 'x');
    EXPECT_TRUE(seen.insert(validatorOf(entry)).second);
    entry.path = u"b"_s;
    EXPECT_TRUE(seen.insert(validatorOf(entry)).second);
}

TEST(RemoteListingTest, validator_orderOfEntriesAndAddresses_doNotMatter)
{
    RemoteListing one, other;
    RemoteFile a = file(u"a"_s), b = file(u"x/b"_s);
    ASSERT_FALSE(one.addFile(a).hasError());
    ASSERT_FALSE(one.addFile(b).hasError());
    a.url = HttpUrl::parse("http://elsewhere/a?token=1").value();
    ASSERT_FALSE(other.addFolder(u"x"_s).hasError());
    ASSERT_FALSE(other.addFile(b).hasError());
    ASSERT_FALSE(other.addFile(a).hasError());
    EXPECT_EQ(one.validator(), other.validator());
    ASSERT_FALSE(other.addFolder(u"y"_s).hasError());
    EXPECT_NE(one.validator(), other.validator());
}

TEST(RemoteListingTest, newest_ofSomeTimes_isTheLatest)
{
    RemoteListing listing;
    EXPECT_FALSE(listing.newest().isValid());
    RemoteFile old = file(u"a"_s), fresh = file(u"b"_s), unknown = file(u"c"_s);
    old.modified = QDateTime::fromSecsSinceEpoch(1);
    fresh.modified = QDateTime::fromSecsSinceEpoch(7);
    for (const RemoteFile &each : { fresh, old, unknown })
        ASSERT_FALSE(listing.addFile(each).hasError());
    EXPECT_EQ(listing.newest().toSecsSinceEpoch(), 7);
}

TEST(RemoteListingTest, addFile_refused_messageHasNoControlCharacters)
{
    RemoteListing listing;
    const QString message = listing.addFile(file(u"a\x1b[31mb"_s)).errorMessage();
    EXPECT_TRUE(message.contains(u"[31mb"_s));
    EXPECT_FALSE(message.contains(QChar(0x1b)));
}

} // namespace zel::test
