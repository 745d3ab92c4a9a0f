#include "references/PublicQuery.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(PublicQueryTest, publicQuery_withoutSecrets_isUntouched)
{
    EXPECT_EQ(publicQuery(u""_s), u""_s);
    EXPECT_EQ(publicQuery(u"file=a.raw&version=3"_s), u"file=a.raw&version=3"_s);
    EXPECT_EQ(publicQuery(u"a&&b"_s), u"a&&b"_s);
    EXPECT_EQ(publicQuery(u"expires=never&policy=7"_s), u"expires=never&policy=7"_s);
}

TEST(PublicQueryTest, publicQuery_signedLinks_keepWhatNamesTheFile)
{
    EXPECT_EQ(publicQuery(u"X-Amz-Algorithm=A&X-Amz-Credential=B&X-Amz-Date=C&X-Amz-Expires=D"
                          u"&X-Amz-Security-Token=E&X-Amz-Signature=F&versionId=7"_s),
              u"versionId=7"_s);
    EXPECT_EQ(publicQuery(u"AWSAccessKeyId=A&Expires=1&Signature=B"_s), u""_s);
    EXPECT_EQ(publicQuery(u"GoogleAccessId=A&Expires=1&Signature=B&generation=9"_s),
              u"generation=9"_s);
    EXPECT_EQ(publicQuery(u"sv=1&st=2&se=3&sr=b&sp=r&sig=abc&snapshot=4"_s), u"snapshot=4"_s);
    EXPECT_EQ(publicQuery(u"Policy=A&Signature=B&Key-Pair-Id=C"_s), u""_s);
}

TEST(PublicQueryTest, publicQuery_tokensInAnySpelling_go)
{
    EXPECT_EQ(publicQuery(u"id=1&access_token=x"_s), u"id=1"_s);
    EXPECT_EQ(publicQuery(u"TOKEN=x&id=1"_s), u"id=1"_s);
    EXPECT_EQ(publicQuery(u"%74oken=x&id=1"_s), u"id=1"_s);
    EXPECT_EQ(publicQuery(u"password=x"_s), u""_s);
    EXPECT_EQ(publicQuery(u"token"_s), u""_s);
}
