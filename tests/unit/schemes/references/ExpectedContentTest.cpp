#include "references/ExpectedContent.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

// Of the three bytes "abc".
const auto sha256 = u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s;
const auto md5 = u"900150983cd24fb0d6963f7d28e17f72"_s;

ExpectedContent expected(const QString &text)
{
    const auto content = ExpectedContent::fromString(text);
    EXPECT_TRUE(content.hasValue());
    return content.hasValue() ? content.value() : ExpectedContent();
}

} // namespace

TEST(ExpectedContentTest, fromString_goodTexts_roundTrip)
{
    EXPECT_EQ(expected(u"md5="_s + md5).toString(), u"md5="_s + md5);
    EXPECT_EQ(expected(u"Size=3&MD5="_s + md5.toUpper()).toString(),
              u"md5="_s + md5 + u"&size=3"_s);
    EXPECT_EQ(expected(u"size=0"_s).toString(), u"size=0"_s);
    EXPECT_TRUE(ExpectedContent().isEmpty());
    EXPECT_EQ(ExpectedContent().toString(), QString());
}

TEST(ExpectedContentTest, fromString_badTexts_areRefused)
{
    const QStringList bad { u""_s,
                            u"size"_s,
                            u"size="_s,
                            u"size=-1"_s,
                            u"size=+1"_s,
                            u"size=01"_s,
                            u"size= 1"_s,
                            u"size=1e3"_s,
                            u"md5=12"_s,
                            u"sha1="_s,
                            u"&"_s,
                            u"size=99999999999999999999"_s,
                            u"md5="_s + QString(32, u'g'),
                            u"size=1&size=1"_s,
                            u"md5="_s + md5 + u"&sha256="_s + sha256 };
    for (const QString &text : bad) {
        const auto content = ExpectedContent::fromString(text);
        ASSERT_FALSE(content.hasValue()) << text.toStdString();
        EXPECT_EQ(content.error().errorCode(), ErrorCode::BadArgument);
    }
}
