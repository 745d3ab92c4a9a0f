#include "MsDataAssociatedResourcesProvider.h"

#include "TemporaryCache.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class MsDataAssociatedResourcesProviderTest : public testing::Test
{
protected:
    QString path(const QString &name) const { return directory.filePath(name); }
    void makeFiles(const QStringList &names) const
    {
        for (const QString &name : names)
            writeFile(path(name), "x");
    }
    /// The answer for the path, without its folder and sorted.
    QStringList sideFilesOf(const QString &name) const
    {
        QStringList names;
        for (const QString &found : provider.getAssociatedResources(path(name))) {
            EXPECT_TRUE(QFileInfo(found).isAbsolute());
            names.append(QDir(directory.path()).relativeFilePath(found));
        }
        names.sort();
        return names;
    }

    QTemporaryDir directory;
    MsDataAssociatedResourcesProvider provider;
};

} // namespace

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_both_areNamedInTheFoldersOrder)
{
    makeFiles({ u"x.mzml"_s, u"x.mzml.ms1.cache"_s, u"x.mzml.data.cache"_s, u"x.mzml.cache"_s,
                u"y.mzml.ms1.cache"_s });
    QStringList inTheFoldersOrder;
    for (const QString &name : QDir(directory.path()).entryList(QDir::NoFilter, QDir::NoSort)) {
        if (name == u"x.mzml.ms1.cache"_s || name == u"x.mzml.data.cache"_s)
            inTheFoldersOrder.append(path(name));
    }
    ASSERT_EQ(inTheFoldersOrder.size(), 2);
    EXPECT_EQ(provider.getAssociatedResources(path(u"x.mzml"_s)), inTheFoldersOrder);
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_oneOfThem_isNamed)
{
    makeFiles({ u"x.mzml"_s, u"x.mzml.data.cache"_s });
    EXPECT_EQ(sideFilesOf(u"x.mzml"_s), QStringList(u"x.mzml.data.cache"_s));
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_noMsDataByName_areNone)
{
    makeFiles({ u"x.txt"_s, u"x.txt.ms1.cache"_s, u"x.txt.data.cache"_s });
    EXPECT_EQ(sideFilesOf(u"x.txt"_s), QStringList());
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_ofAFolder_lieBesideIt)
{
    makeFiles({ u"y.raw/_FUNC001.DAT"_s, u"y.raw/y.raw.ms1.cache"_s, u"y.raw.ms1.cache"_s });
    EXPECT_EQ(sideFilesOf(u"y.raw"_s), QStringList(u"y.raw.ms1.cache"_s));
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_ofDataThatIsGone_areNamed)
{
    makeFiles({ u"x.mzml.ms1.cache"_s });
    EXPECT_EQ(sideFilesOf(u"x.mzml"_s), QStringList(u"x.mzml.ms1.cache"_s));
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_absentFolder_areNone)
{
    EXPECT_EQ(sideFilesOf(u"nowhere/x.mzml"_s), QStringList());
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_testingMarker_countsAsMsData)
{
    makeFiles({ u"x.MAGIC_STRING_GOES_HERE_zel_testing.ms1.cache"_s });
    EXPECT_EQ(sideFilesOf(u"x.MAGIC_STRING_GOES_HERE_zel_testing"_s),
              QStringList(u"x.MAGIC_STRING_GOES_HERE_zel_testing.ms1.cache"_s));
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_wildcardInTheName_actsAsPattern)
{
    makeFiles({ u"ab.mzml.ms1.cache"_s, u"b.mzml.ms1.cache"_s });
    EXPECT_EQ(sideFilesOf(u"a*.mzml"_s), QStringList(u"ab.mzml.ms1.cache"_s));
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_placeholderInTheName_staysAsItIs)
{
    makeFiles({ u"run%1.mzml.ms1.cache"_s });
    EXPECT_EQ(sideFilesOf(u"run%1.mzml"_s), QStringList(u"run%1.mzml.ms1.cache"_s));
}

TEST_F(MsDataAssociatedResourcesProviderTest, sideFiles_inOtherCase_areNamed)
{
    makeFiles({ u"x.mzml.MS1.Cache"_s });
    EXPECT_EQ(sideFilesOf(u"x.mzml"_s), QStringList(u"x.mzml.MS1.Cache"_s));
}
