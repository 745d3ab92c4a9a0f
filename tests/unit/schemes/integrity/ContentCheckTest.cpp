#include "integrity/ContentCheck.h"

#include "SchemeErrors.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

// Of the three bytes "abc".
const auto sha256 = u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s;
const auto md5 = u"900150983cd24fb0d6963f7d28e17f72"_s;

ContentCheck checkOf(const QString &text)
{
    return ContentCheck(ExpectedContent::fromString(text).value());
}

Error verify(const QString &text, const QByteArray &content)
{
    ContentCheck check = checkOf(text);
    for (const char byte : content)
        check.addBytes(&byte, 1);
    return check.verify(content.size());
}

} // namespace

TEST(ContentCheckTest, verify_theRightBytes_succeeds)
{
    EXPECT_FALSE(verify(u"sha256="_s + sha256, "abc").hasError());
    EXPECT_FALSE(verify(u"md5="_s + md5 + u"&size=3"_s, "abc").hasError());
    EXPECT_FALSE(ContentCheck({}).verify(7).hasError());
}

TEST(ContentCheckTest, verify_otherBytes_hasCode6)
{
    EXPECT_EQ(int(verify(u"sha256="_s + sha256, "abd").errorCode()), 6);
    EXPECT_EQ(int(verify(u"md5="_s + md5, "abcd").errorCode()), 6);
    EXPECT_EQ(int(verify(u"size=2"_s, "abc").errorCode()), 6);
}

TEST(ContentCheckTest, reset_startsAnew)
{
    ContentCheck check = checkOf(u"md5="_s + md5);
    check.addBytes("zzz", 3);
    check.reset();
    check.addBytes("abc", 3);
    EXPECT_FALSE(check.verify(3).hasError());
}

TEST(ContentCheckTest, needsBytes_onlyForAChecksum)
{
    EXPECT_TRUE(checkOf(u"md5="_s + md5).needsBytes());
    EXPECT_FALSE(checkOf(u"size=3"_s).needsBytes());
    EXPECT_FALSE(ContentCheck({}).needsBytes());
}
