#include "list/ListReference.h"

#include <gtest/gtest.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

QSharedPointer<ListReference> list(const QString &text)
{
    const auto parsed = ListReference::parse(text);
    EXPECT_TRUE(parsed.hasValue()) << text.toStdString();
    return parsed.hasValue() ? parsed.value().dynamicCast<ListReference>() : nullptr;
}

QString key(const QString &text)
{
    return list(text)->referenceText(false);
}

} // namespace

TEST(ListReferenceTest, referenceText_allSpellings_haveOneKeyForm)
{
    const QString expected = u"list+https://h/a%20b/SUMS"_s;
    for (const QString &text :
         { u"list+https://h/a b/SUMS"_s, u"LIST+HTTPS://H:443/x/../a%20b/SUMS"_s,
           u"list+https://h/a%20b/SUMS?token=geheim"_s, expected })
        EXPECT_EQ(key(text), expected);
    EXPECT_EQ(list(expected)->referenceText(true), u"list+https://h/a b/SUMS"_s);
    EXPECT_NE(key(u"list+http://h/a"_s), key(u"list+https://h/a"_s));
    EXPECT_NE(key(u"list+http://h/a"_s), key(u"list+http://h/a/"_s));
}

TEST(ListReferenceTest, requestUrl_signedList_isAskedForWithItsSignature)
{
    EXPECT_EQ(list(u"list+https://h/a/SUMS?sig=geheim"_s)->requestUrl(),
              "https://h/a/SUMS?sig=geheim");
    const auto reference = list(u"list+https://h/a/SUMS?sig=geheim"_s);
    for (const QString &shown : { reference->referenceText(false), reference->referenceText(true),
                                  *reference->referencePath(), *reference->referenceFullPath() })
        EXPECT_FALSE(shown.contains(u"geheim"_s)) << shown.toStdString();
}

TEST(ListReferenceTest, folderName_isThatOfTheFolderAndNotOfTheList)
{
    EXPECT_EQ(list(u"list+http://h/data/run.d/SHA256SUMS"_s)->folderName(), u"run.d"_s);
    EXPECT_EQ(list(u"list+http://h/data/run.d/"_s)->folderName(), u"run.d"_s);
    EXPECT_EQ(list(u"list+http://h/r%C3%BCn.d/S?v=a/b"_s)->folderName(), u"r\u00fcn.d"_s);
    EXPECT_EQ(list(u"list+http://h:8080/SHA256SUMS"_s)->folderName(), u"h:8080"_s);
    EXPECT_EQ(list(u"list+http://h"_s)->folderName(), u"h"_s);
}

TEST(ListReferenceTest, isServerListing_slashAtTheEnd_decides)
{
    EXPECT_TRUE(list(u"list+http://h/a/"_s)->isServerListing());
    EXPECT_TRUE(list(u"list+http://h"_s)->isServerListing());
    EXPECT_TRUE(list(u"list+http://h/a/?v=1"_s)->isServerListing());
    EXPECT_FALSE(list(u"list+http://h/a?v=/"_s)->isServerListing());
}

TEST(ListReferenceTest, parse_checksum_isThatOfTheListAndPartOfTheKey)
{
    const QString sum = u"#sha256="_s + QString(64, u'a');
    EXPECT_EQ(key(u"list+http://h/a/SUMS"_s + sum), u"list+http://h/a/SUMS"_s + sum);
    EXPECT_EQ(int(ListReference::parse(u"list+http://h/a/"_s + sum).error().errorCode()),
              int(ErrorCode::BadArgument));
}

TEST(ListReferenceTest, parse_badAddresses_areRefusedWithoutTheirSecrets)
{
    for (const QString &text : { u"list+http:"_s, u"list+http://"_s, u"list+http://me:geheim@h/a"_s,
                                 u"list+http://h/a#geheim"_s, u"http://h/a"_s, u"list+"_s }) {
        const auto parsed = ListReference::parse(text);
        EXPECT_EQ(int(parsed.error().errorCode()), int(ErrorCode::BadArgument))
            << text.toStdString();
        EXPECT_FALSE(parsed.error().errorMessage().contains(u"geheim"_s));
    }
}

} // namespace zel::test
