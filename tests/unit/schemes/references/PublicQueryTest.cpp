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

TEST(PublicQueryTest, publicPath_withoutSecrets_isUntouched)
{
    for (const QString &path : { u""_s, u"/"_s, u"/a//b.raw"_s, u"/a;b"_s, u"/a;;v=2;/b;"_s,
                                 u"/token=1/b"_s, u"/a;expires=never"_s, u"/a%3Btoken=1"_s })
        EXPECT_EQ(publicPath(path), path);
}

TEST(PublicQueryTest, publicPath_parametersThatOpenTheDoor_goAtEveryLevel)
{
    EXPECT_EQ(publicPath(u"/a;token=x/b.raw;v=2;Signature=y;Expires=3"_s), u"/a/b.raw;v=2"_s);
    EXPECT_EQ(publicPath(u"/run.raw;jsessionid=0A1B"_s), u"/run.raw"_s);
    EXPECT_EQ(publicPath(u"/run.raw;%54OKEN=x=;v"_s), u"/run.raw;v"_s);
    EXPECT_EQ(publicPath(u"/;token/a"_s), u"//a"_s);
}

TEST(PublicQueryTest, secretsOfPath_areTheValuesThatWentAway)
{
    EXPECT_EQ(secretsOfPath(u"/a;token=x%20=/b;v=2;sig=y;pass"_s),
              QStringList({ u"x%20="_s, u"y"_s }));
}
