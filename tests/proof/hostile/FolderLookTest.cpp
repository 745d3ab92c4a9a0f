#include "FolderLook.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto secret = "geheim123";

/// What the proof of hostile input judges by: it has to see what it is there for.
class FolderLookTest : public testing::Test
{
protected:
    FolderLookTest()
    {
        writeFile(at(u"base/Cache/file"_s), "bytes");
        writeFile(at(u"outside/file"_s), "geheim123");
    }

    QString at(const QString &name) const { return directory.filePath(name); }
    QStringList faults() const { return faultsBelow(at(u"base"_s), secret); }
    QStringList faultsWithLink(const QString &target, const QString &name) const
    {
        EXPECT_TRUE(QFile::link(target, at(name)));
        return faults();
    }
    QMap<QString, QByteArray> surroundings() const
    {
        return contentsBelow(directory.path(), { at(u"base"_s) });
    }

    const QTemporaryDir directory;
};

} // namespace

TEST_F(FolderLookTest, faultsBelow_filesAndFolders_areNone)
{
    EXPECT_EQ(faults(), QStringList());
}

TEST_F(FolderLookTest, faultsBelow_linkToAFile_isOne)
{
    EXPECT_EQ(faultsWithLink(u"file"_s, u"base/Cache/link"_s),
              QStringList(u"a link was made: "_s + at(u"base/Cache/link"_s)));
}

TEST_F(FolderLookTest, faultsBelow_linkToAFolder_isOneAndNotFollowed)
{
    EXPECT_EQ(faultsWithLink(at(u"outside"_s), u"base/Cache/link"_s),
              QStringList(u"a link was made: "_s + at(u"base/Cache/link"_s)));
}

TEST_F(FolderLookTest, faultsBelow_linkThatLeadsNowhere_isOne)
{
    EXPECT_EQ(faultsWithLink(at(u"gone"_s), u"base/.link"_s),
              QStringList(u"a link was made: "_s + at(u"base/.link"_s)));
}

TEST_F(FolderLookTest, faultsBelow_secretInWhereALinkLeads_isSeen)
{
    EXPECT_EQ(faultsWithLink(u"/geheim123"_s, u"base/link"_s).size(), 2);
}

TEST_F(FolderLookTest, faultsBelow_pipe_isOneAndNotRead)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(at(u"base/pipe"_s)).constData(), 0600), 0);
    EXPECT_EQ(faults(), QStringList(u"this is neither file nor folder: "_s + at(u"base/pipe"_s)));
}

TEST_F(FolderLookTest, faultsBelow_secretInANameOrInBytes_isSeen)
{
    QDir(at(u"base"_s)).mkdir(u"of geheim123"_s);
    writeFile(at(u"base/.hidden"_s), "it is geheim123!");
    EXPECT_EQ(faults().size(), 2);
}

TEST_F(FolderLookTest, contentsBelow_whatIsLeftOut_isLeftOutWithAllBelowAndNothingElse)
{
    const auto before = surroundings();
    EXPECT_EQ(before.keys(), QStringList({ at(u"outside"_s), at(u"outside/file"_s) }));
    writeFile(at(u"base/Cache/more"_s), "more");
    EXPECT_EQ(surroundings(), before);
    // Its name begins like that of the folder.
    writeFile(at(u"base2"_s), "more");
    EXPECT_NE(surroundings(), before);
}

TEST_F(FolderLookTest, contentsBelow_linkThatIsBentElsewhere_differs)
{
    ASSERT_TRUE(QFile::link(at(u"gone"_s), at(u"link"_s)));
    const auto before = surroundings();
    ASSERT_TRUE(QFile::remove(at(u"link"_s)));
    ASSERT_TRUE(QFile::link(at(u"away"_s), at(u"link"_s)));
    EXPECT_NE(surroundings(), before);
}
