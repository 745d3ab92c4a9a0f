#include "share/ShareCompanions.h"

#include "../SchemeManagerFixture.h"
#include "CacheDatabase.h"
#include "ResourceCache.h"

#include <QDir>
#include <QFileInfo>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ShareCompanionsTest : public SchemeManagerFixture
{
protected:
    QString path(const QString &name) const { return cache.outside(u"share/"_s + name); }
    QString text(const QString &name) const { return u"share:"_s + path(name); }
    qint64 storedSize(const QString &name) const
    {
        const auto sql = u"SELECT fileSize FROM CachedResources WHERE reference = ?"_s;
        return CacheDatabase(cache.databasePath())
            .value(sql, { reference(text(name))->referenceText(false) })
            .toLongLong();
    }
    static Error recount(const QString &text)
    {
        return ResourceManager::cache()->updateFileSize(reference(text)->referenceText(false));
    }
};

} // namespace

TEST_F(ShareCompanionsTest, getAssociatedResources_namesTheScanHoweverItIsWritten)
{
    for (const QString &name : { u"x.wiff"_s, u"x.wiff.scan"_s, u"x.wiff.txt"_s, u"y.wiff.scan"_s,
                                 u"Z.WIFF"_s, u"Z.WIFF.Scan"_s, u"z.wiff.scan"_s })
        writeFile(path(name), "1");
    const ShareCompanions companions;
    EXPECT_EQ(companions.getAssociatedResources(path(u"x.wiff"_s)),
              QList<QString> { path(u"x.wiff.scan"_s) });
    EXPECT_EQ(companions.getAssociatedResources(path(u"Z.WIFF"_s)),
              QList<QString> { path(u"Z.WIFF.Scan"_s) });
    EXPECT_EQ(companions.getAssociatedResources(path(u"y.wiff.scan"_s)), QList<QString>());
    EXPECT_EQ(companions.getAssociatedResources(path(u"missing/x.wiff"_s)), QList<QString>());
}

TEST_F(ShareCompanionsTest, fileType_isTheirsAlone)
{
    for (const QString &name : { u"a/x.wiff"_s, u"X.WIFF"_s })
        EXPECT_TRUE(FileTypes::isType(name, ShareCompanions::fileType()));
    for (const QString &name : { u"x.wiff.scan"_s, u"x.wiff2"_s, u"wiff"_s, u"x.raw"_s })
        EXPECT_FALSE(FileTypes::isType(name, ShareCompanions::fileType()));
}

TEST_F(ShareCompanionsTest, updateFileSize_fetchedWithItsScan_countsBoth)
{
    writeFile(path(u"x.wiff"_s), "wiff");
    writeFile(path(u"x.wiff.scan"_s), QByteArray(1000, 's'));
    const QString local = retrieve(text(u"x.wiff"_s));
    EXPECT_EQ(storedSize(u"x.wiff"_s), 4); // of the fetch: the resource itself

    EXPECT_FALSE(recount(text(u"x.wiff"_s)).hasError());
    EXPECT_EQ(storedSize(u"x.wiff"_s), 1004);
    EXPECT_FALSE(recount(text(u"x.wiff"_s)).hasError());
    EXPECT_EQ(storedSize(u"x.wiff"_s), 1004);
}

TEST_F(ShareCompanionsTest, updateFileSize_wiff2_comesAloneAndCountsItselfOnly)
{
    for (const QString &name : { u"x.wiff2"_s, u"x.wiff2.scan"_s, u"x.wiff"_s, u"x.wiff.scan"_s })
        writeFile(path(name), "wiff2");
    const QString local = retrieve(text(u"x.wiff2"_s));
    EXPECT_EQ(QFileInfo(local).dir().entryList(QDir::Files), QStringList { u"x.wiff2"_s });

    writeFile(local + u".scan"_s, "stray");
    EXPECT_FALSE(recount(text(u"x.wiff2"_s)).hasError());
    EXPECT_EQ(storedSize(u"x.wiff2"_s), 5);
}

TEST_F(ShareCompanionsTest, updateFileSize_sideFilesOfAnalysisToo_countsAll)
{
    writeFile(path(u"x.wiff"_s), "wiff");
    writeFile(path(u"x.wiff.scan"_s), QByteArray(1000, 's'));
    const QString local = retrieve(text(u"x.wiff"_s));
    writeFile(local + u".ms1.cache"_s, QByteArray(200, 'm'));
    EXPECT_FALSE(recount(text(u"x.wiff"_s)).hasError());
    EXPECT_EQ(storedSize(u"x.wiff"_s), 1204);
}

TEST_F(ShareCompanionsTest, updateFileSize_otherFile_countsItselfOnly)
{
    writeFile(path(u"x.raw"_s), "raw");
    const QString local = retrieve(text(u"x.raw"_s));
    writeFile(local + u".scan"_s, "stray");
    EXPECT_FALSE(recount(text(u"x.raw"_s)).hasError());
    EXPECT_EQ(storedSize(u"x.raw"_s), 3);
}
