#include "references/CacheFileName.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(CacheFileNameTest, forResource_isAFolderOfItsOwnAndTheOriginalName)
{
    const QString name = CacheFileName::forResource(u"http://h/a/My Run.raw"_s, u"My Run.raw"_s);
    EXPECT_EQ(name.count(u'/'), 1);
    EXPECT_TRUE(name.endsWith(u"/My Run.raw"_s));
    EXPECT_EQ(name, CacheFileName::forResource(u"http://h/a/My Run.raw"_s, u"My Run.raw"_s));
    EXPECT_NE(name, CacheFileName::forResource(u"http://h/b/My Run.raw"_s, u"My Run.raw"_s));
}

TEST(CacheFileNameTest, forResource_neverChangesFromOneVersionToTheNext)
{
    // What lies in caches already has to be found again.
    EXPECT_EQ(CacheFileName::folderFor(u"share:/a/b.raw"_s), u"ccb3e9161966ddcd35389656f7c0f19d"_s);
}

TEST(CacheFileNameTest, sanitised_hostileNames_stayInTheirFolder)
{
    using CacheFileName::sanitised;
    EXPECT_EQ(sanitised(u".."_s), u"_."_s);
    EXPECT_EQ(sanitised(u"."_s), u"_"_s);
    EXPECT_EQ(sanitised(u""_s), u"_"_s);
    EXPECT_EQ(sanitised(u".hidden.raw"_s), u"_hidden.raw"_s);
    EXPECT_EQ(sanitised(u"a/../b.raw"_s), u"a_.._b.raw"_s);
    EXPECT_EQ(sanitised(u"a\\b"_s), u"a_b"_s);
    EXPECT_EQ(sanitised(u"a\nb\x7f"_s), u"a_b_"_s);
    EXPECT_EQ(sanitised(u"a\u202eb"_s), u"a_b"_s);
}

TEST(CacheFileNameTest, sanitised_ordinaryNames_stay)
{
    using CacheFileName::sanitised;
    EXPECT_EQ(sanitised(u"Rün 12:30 (2) #1 100%.raw"_s), u"Rün 12:30 (2) #1 100%.raw"_s);
    EXPECT_EQ(sanitised(u"a.wiff.scan"_s), u"a.wiff.scan"_s);
}

TEST(CacheFileNameTest, sanitised_longNames_keepTheirExtension)
{
    const QString latin = CacheFileName::sanitised(QString(400, u'x') + u".mzML"_s);
    EXPECT_LE(latin.toUtf8().size(), 239);
    EXPECT_TRUE(latin.endsWith(u"x.mzML"_s));

    const QString wide = CacheFileName::sanitised(u"\U0001f600"_s.repeated(100) + u".raw"_s);
    EXPECT_LE(wide.toUtf8().size(), 239);
    EXPECT_TRUE(wide.endsWith(u"\U0001f600.raw"_s));
    EXPECT_EQ(QString::fromUtf8(wide.toUtf8()), wide);

    const QString extension = CacheFileName::sanitised(u"a."_s + QString(400, u'y'));
    EXPECT_LE(extension.toUtf8().size(), 239);
    EXPECT_TRUE(extension.startsWith(u"a.y"_s));
}
