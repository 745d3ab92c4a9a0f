#include "files/PathUtils.h"
#include "files/FilePathUtils.h"

#include "TemporaryCache.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(PathUtilsTest, hasExtension_lastDotOfTheName_decidesWhateverTheCase)
{
    EXPECT_TRUE(PathUtils::hasExtension(u"/data/a.raw"_s, u"raw"_s));
    EXPECT_TRUE(PathUtils::hasExtension(u"/data/a.raw"_s, u".raw"_s));
    EXPECT_TRUE(PathUtils::hasExtension(u"a.RAW"_s, u".Raw"_s));
    EXPECT_TRUE(PathUtils::hasExtension(u"/data/a.b.raw"_s, u"raw"_s));
    EXPECT_TRUE(PathUtils::hasExtension(u".raw"_s, u"raw"_s));
    EXPECT_TRUE(PathUtils::hasExtension(u"/data/x.d/"_s, u"d"_s));
    EXPECT_TRUE(PathUtils::hasExtension(u"/data//x.d/."_s, u"d"_s));
}

TEST(PathUtilsTest, hasExtension_otherNames_doNotMatch)
{
    EXPECT_FALSE(PathUtils::hasExtension(u"/data/raw"_s, u"raw"_s));
    EXPECT_FALSE(PathUtils::hasExtension(u"/data.raw/a"_s, u"raw"_s));
    EXPECT_FALSE(PathUtils::hasExtension(u"/data/a.wiff.scan"_s, u"wiff.scan"_s));
    EXPECT_FALSE(PathUtils::hasExtension(u"/data/a.xraw"_s, u"raw"_s));
    EXPECT_FALSE(PathUtils::hasExtension(u"/data/a."_s, u""_s));
    EXPECT_FALSE(PathUtils::hasExtension(u"/data/a."_s, u"."_s));
    EXPECT_FALSE(PathUtils::hasExtension(u"/data/a"_s, u""_s));
    EXPECT_FALSE(PathUtils::hasExtension(QString(), u"raw"_s));
}

TEST(PathUtilsTest, existence_fileFolderAndLinks_areToldApart)
{
    const QTemporaryDir dir;
    const QString file = dir.filePath(u"file"_s);
    test::writeFile(file, "x");
    ASSERT_TRUE(QFile::link(dir.path(), dir.filePath(u"toFolder"_s)));
    ASSERT_TRUE(QFile::link(file, dir.filePath(u"toFile"_s)));

    EXPECT_TRUE(PathUtils::isDirectory(dir.path()));
    EXPECT_TRUE(PathUtils::isExistingDir(dir.path()));
    EXPECT_FALSE(PathUtils::isExistingFile(dir.path()));
    EXPECT_TRUE(PathUtils::isExistingFile(file));
    EXPECT_FALSE(PathUtils::isDirectory(file));
    EXPECT_FALSE(PathUtils::isExistingDir(file));
    EXPECT_TRUE(PathUtils::isExistingDir(dir.filePath(u"toFolder"_s)));
    EXPECT_TRUE(PathUtils::isExistingFile(dir.filePath(u"toFile"_s)));
    EXPECT_FALSE(PathUtils::isExistingFile(dir.filePath(u"missing"_s)));
    EXPECT_FALSE(PathUtils::isExistingDir(dir.filePath(u"missing"_s)));
    EXPECT_FALSE(PathUtils::isDirectory(QString()));
}

TEST(FilePathUtilsTest, absoluteFilePath_relativeAndUntidy_isCleanAndAbsolute)
{
    EXPECT_EQ(FilePathUtils::absoluteFilePath(u"x/../y.raw"_s), QDir::currentPath() + u"/y.raw"_s);
    EXPECT_EQ(FilePathUtils::absoluteFilePath(u"/a//b/./c"_s), u"/a/b/c"_s);
    EXPECT_EQ(FilePathUtils::absoluteFilePath(QString()), QString());
    EXPECT_EQ(FilePathUtils::absoluteFilePath(u"\\\\?\\C:\\x"_s), u"\\\\?\\C:\\x"_s);
}

TEST(FilePathUtilsTest, isWinLongPath_aroundTheLimit_countsUnits)
{
    EXPECT_EQ(FilePathUtils::winMaxPathLength, 259);
    EXPECT_FALSE(FilePathUtils::isWinLongPath(QString(259, u'x')));
    EXPECT_TRUE(FilePathUtils::isWinLongPath(QString(260, u'x')));
    EXPECT_FALSE(FilePathUtils::isWinLongPath(QString()));
}

TEST(FilePathUtilsTest, hasWinLongPathPrefix_variousStarts_areToldApart)
{
    EXPECT_TRUE(FilePathUtils::hasWinLongPathPrefix(u"\\\\?\\C:\\x"_s));
    EXPECT_TRUE(FilePathUtils::hasWinLongPathPrefix(u"//?/C:/x"_s));
    EXPECT_FALSE(FilePathUtils::hasWinLongPathPrefix(u"\\\\server\\x"_s));
    EXPECT_FALSE(FilePathUtils::hasWinLongPathPrefix(u"C:\\\\?\\x"_s));
}
