#include "RemovalRange.h"
#include "TemporaryCache.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class RemovalRangeTest : public testing::Test
{
protected:
    QString root() const { return cache.dataDir(); }
    void file(const QString &relativePath) { writeFile(root() + u'/' + relativePath, "x"); }
    QString rangeOf(const QString &relativePath, const QString &spelledRoot) const
    {
        return RemovalRange(spelledRoot)
            .foldersOf(root() + u'/' + relativePath)
            .constLast()
            .absolutePath();
    }
    QString rangeOf(const QString &relativePath) const { return rangeOf(relativePath, root()); }
    QString below(const QString &relativePath) const { return root() + u'/' + relativePath; }

    TemporaryCache cache;
};

} // namespace

TEST_F(RemovalRangeTest, of_folderHoldsOnlyTheResourcesFolder_staysTwoLevelsBelowTheRoot)
{
    file(u"a/b/file"_s);
    EXPECT_EQ(rangeOf(u"a/b/file"_s), below(u"a/b"_s));
}

TEST_F(RemovalRangeTest, of_deeperLonelyFolders_climbs)
{
    file(u"a/b/c/file"_s);
    EXPECT_EQ(rangeOf(u"a/b/c/file"_s), below(u"a/b"_s));
    file(u"x/y/z/w/v/file"_s);
    EXPECT_EQ(rangeOf(u"x/y/z/w/v/file"_s), below(u"x/y"_s));
}

TEST_F(RemovalRangeTest, of_parentHoldsAnotherEntry_stopsThere)
{
    file(u"a/b/c/file"_s);
    file(u"a/b/other"_s);
    EXPECT_EQ(rangeOf(u"a/b/c/file"_s), below(u"a/b/c"_s));
}

TEST_F(RemovalRangeTest, of_siblingInTheResourcesOwnFolder_doesNotCount)
{
    file(u"a/b/file"_s);
    file(u"a/b/file.side"_s);
    EXPECT_EQ(rangeOf(u"a/b/file"_s), below(u"a/b"_s));
}

TEST_F(RemovalRangeTest, of_resourceOneLevelDown_takesTheSchemesFolder)
{
    file(u"a/file"_s);
    EXPECT_EQ(rangeOf(u"a/file"_s), below(u"a"_s));
}

TEST_F(RemovalRangeTest, of_resourceDirectlyInTheRoot_isTheRoot)
{
    writeFile(cache.databasePath(), "x"); // as beside every data directory
    file(u"file"_s);
    EXPECT_EQ(rangeOf(u"file"_s), root());
}

TEST_F(RemovalRangeTest, of_relativeRoot_stopsAsWell)
{
    file(u"a/b/file"_s);
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(cache.baseDir()));
    EXPECT_EQ(rangeOf(u"a/b/file"_s, u"Cache"_s), below(u"a/b"_s));
    EXPECT_EQ(rangeOf(u"a/b/file"_s, u"./Cache/../Cache/"_s), below(u"a/b"_s));
    QDir::setCurrent(before);
}

TEST_F(RemovalRangeTest, of_rootThroughALink_stopsAsWell)
{
    file(u"a/b/file"_s);
    const QString link = cache.outside(u"link"_s);
    ASSERT_TRUE(QFile::link(root(), link));
    EXPECT_EQ(rangeOf(u"a/b/file"_s, link), below(u"a/b"_s));
    // And the other way round: the row's path leads through the link.
    EXPECT_EQ(RemovalRange(root()).foldersOf(link + u"/a/b/file"_s).constLast().absolutePath(),
              link + u"/a/b"_s);
}

TEST_F(RemovalRangeTest, of_pathOutsideTheRoot_climbsToTheFirstFolderInCompany)
{
    writeFile(cache.outside(u"o/p/q/file"_s), "x");
    // Beside "o" lies the base directory.
    EXPECT_EQ(
        RemovalRange(root()).foldersOf(cache.outside(u"o/p/q/file"_s)).constLast().absolutePath(),
        cache.outside(u"o"_s));
}

TEST_F(RemovalRangeTest, of_prefixOfTheRootsName_isNotTheRoot)
{
    writeFile(cache.baseDir() + u"/Cache2/a/b/file"_s, "x");
    writeFile(cache.baseDir() + u"/Cache2/c"_s, "x");
    EXPECT_EQ(RemovalRange(root())
                  .foldersOf(cache.baseDir() + u"/Cache2/a/b/file"_s)
                  .constLast()
                  .absolutePath(),
              cache.baseDir() + u"/Cache2/a"_s);
}

TEST_F(RemovalRangeTest, foldersOf_deeperLonelyFolders_areAllFromTheInside)
{
    file(u"a/b/c/d/file"_s);
    QStringList paths;
    for (const QDir &folder : RemovalRange(root()).foldersOf(below(u"a/b/c/d/file"_s)))
        paths.append(folder.absolutePath());
    EXPECT_EQ(paths, QStringList({ below(u"a/b/c/d"_s), below(u"a/b/c"_s), below(u"a/b"_s) }));
}
