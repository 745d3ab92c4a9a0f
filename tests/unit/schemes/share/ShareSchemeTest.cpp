#include "../SchemeManagerFixture.h"

#include "CacheDatabase.h"
#include "ResourceCache.h"
#include "references/PathReference.h"
#include "staging/StagingFolder.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ShareSchemeTest : public SchemeManagerFixture
{
protected:
    QString path(const QString &name) const { return cache.outside(u"share/"_s + name); }
    QString text(const QString &name) const { return u"share:"_s + path(name); }
    CacheDatabase database() const { return CacheDatabase(cache.databasePath()); }
};

} // namespace

TEST_F(ShareSchemeTest, retrieve_file_isCopiedIntoAFolderOfItsOwn)
{
    writeFile(path(u"My run.raw"_s), "content");
    const QString local = retrieve(text(u"My run.raw"_s));
    EXPECT_EQ(readFile(local), "content");
    const QStringList levels = QDir(cache.dataDir()).relativeFilePath(local).split(u'/');
    ASSERT_EQ(levels.size(), 3);
    EXPECT_EQ(levels.at(0), u"share"_s);
    EXPECT_EQ(levels.at(2), u"My run.raw"_s);
    EXPECT_TRUE(StagingFolder::all(StagingFolder::stagingDirectoryFor(cache.dataDir())).isEmpty());

    const QString key = reference(text(u"My run.raw"_s))->referenceText(false);
    EXPECT_EQ(database().status(key), u"Ready"_s);
}

TEST_F(ShareSchemeTest, retrieve_sourceIsGoneAfterwards_theCopyServes)
{
    writeFile(path(u"run.raw"_s), "content");
    retrieve(text(u"run.raw"_s));
    ASSERT_TRUE(QFile::remove(path(u"run.raw"_s)));
    EXPECT_EQ(readFile(retrieve(text(u"run.raw"_s))), "content");
}

TEST_F(ShareSchemeTest, retrieve_folderWithPercentInItsName_arrives)
{
    writeFile(path(u"100% run.d/a/b"_s), "deep");
    const QString encoded = u"share:"_s + path(u"100%25 run.d"_s);
    const QString local = retrieve(encoded);
    EXPECT_TRUE(local.endsWith(u"/100% run.d"_s));
    EXPECT_EQ(readFile(local + u"/a/b"_s), "deep");
}

TEST_F(ShareSchemeTest, retrieve_wiff_bringsItsScanIntoTheSameFolder)
{
    writeFile(path(u"x.wiff"_s), "wiff");
    writeFile(path(u"x.wiff.scan"_s), "scan");
    const QString local = retrieve(text(u"x.wiff"_s));
    EXPECT_EQ(readFile(local), "wiff");
    EXPECT_EQ(readFile(local + u".scan"_s), "scan");
}

TEST_F(ShareSchemeTest, retrieve_missing_failsAndNamesIt)
{
    const auto missing = handler(text(u"missing.raw"_s));
    const Error error = missing->retrieve();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u"missing.raw"_s));
    EXPECT_FALSE(missing->isAvailableLocally());
}

TEST_F(ShareSchemeTest, retrieve_wrongChecksum_hasCode6AndStaysMissing)
{
    writeFile(path(u"run.raw"_s), "content");
    const QString wrong = text(u"run.raw"_s) + u"#md5="_s + QString(32, u'0');
    const Error error = handler(wrong)->retrieve();
    EXPECT_EQ(int(error.errorCode()), 6);
    EXPECT_EQ(database().status(reference(wrong)->referenceText(false)), u"Missing"_s);
}

TEST_F(ShareSchemeTest, twoReferences_neverShareAFolder)
{
    writeFile(path(u"a/run.raw"_s), "a");
    writeFile(path(u"b/run.raw"_s), "b");
    const QString a = retrieve(text(u"a/run.raw"_s));
    const QString b = retrieve(text(u"b/run.raw"_s));
    EXPECT_NE(QFileInfo(a).path(), QFileInfo(b).path());
    EXPECT_EQ(readFile(a), "a");
    EXPECT_EQ(readFile(b), "b");
}

TEST_F(ShareSchemeTest, spellingsOfOneFile_shareOneHandler)
{
    writeFile(path(u"a b.raw"_s), "content");
    EXPECT_EQ(handler(text(u"a b.raw"_s)), handler(text(u"./a%20b.raw"_s)));
}

TEST_F(ShareSchemeTest, exists_tellsOfTheSource)
{
    writeFile(path(u"run.raw"_s), "content");
    EXPECT_EQ(handler(text(u"run.raw"_s))->exists().value(), true);
    EXPECT_EQ(handler(text(u"missing.raw"_s))->exists().value(), false);
}

TEST_F(ShareSchemeTest, metadata_isThatOfTheSource)
{
    writeFile(path(u"run.raw"_s), "content");
    const auto metadata = handler(text(u"run.raw"_s))->retrieveMetadata();
    ASSERT_TRUE(metadata.hasValue());
    EXPECT_EQ(metadata.value()->metadataFullPath(), path(u"run.raw"_s));
}
