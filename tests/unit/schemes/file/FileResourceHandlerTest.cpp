#include "../SchemeManagerFixture.h"

#include "SchemeMetadata.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FileResourceHandlerTest : public SchemeManagerFixture
{
protected:
    QString path(const QString &name) const { return cache.outside(u"data/"_s + name); }
    QString text(const QString &name) const { return u"file:"_s + path(name); }
};

} // namespace

TEST_F(FileResourceHandlerTest, retrieve_existingFile_isUsedWhereItLies)
{
    writeFile(path(u"a b.raw"_s), "content");
    EXPECT_EQ(retrieve(text(u"a b.raw"_s)), path(u"a b.raw"_s));
    EXPECT_FALSE(QFileInfo::exists(cache.dataDir() + u"/file"_s));
    EXPECT_EQ(readFile(path(u"a b.raw"_s)), "content");
}

TEST_F(FileResourceHandlerTest, retrieve_missingFile_cannotBeFetched)
{
    const Error error = handler(text(u"missing"_s))->retrieve();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().startsWith(u"Unable to retrieve missing resource: file:/"_s));
}

TEST_F(FileResourceHandlerTest, exists_asksTheDiskEveryTime)
{
    const auto file = handler(text(u"a.raw"_s));
    EXPECT_EQ(file->exists().value(), false);
    writeFile(path(u"a.raw"_s), "content");
    EXPECT_EQ(file->exists().value(), true);
}

TEST_F(FileResourceHandlerTest, metadata_ofAFile_tellsAllOfIt)
{
    writeFile(path(u"a.raw"_s), "content");
    const auto metadata = handler(text(u"a.raw"_s))->retrieveMetadata();
    ASSERT_TRUE(metadata.hasValue()) << metadata.error().description().toStdString();
    const auto &told = dynamic_cast<const SchemeMetadata &>(*metadata.value());
    EXPECT_EQ(told.metadataName(), u"a.raw"_s);
    EXPECT_EQ(told.metadataPath(), path(u"a.raw"_s));
    EXPECT_EQ(told.metadataFullPath(), path(u"a.raw"_s));
    EXPECT_EQ(told.metadataType(), u"file"_s);
    EXPECT_EQ(told.metadataItemType(), ResourceMetadata::ItemType::File);
    EXPECT_EQ(told.size(), 7);
    EXPECT_EQ(told.modified(), QFileInfo(path(u"a.raw"_s)).lastModified());
}

TEST_F(FileResourceHandlerTest, metadata_ofAFolder_countsItsFiles)
{
    writeFile(path(u"run.d/a/b"_s), "12345");
    writeFile(path(u"run.d/c"_s), "123");
    const auto metadata = handler(text(u"run.d"_s))->retrieveMetadata();
    ASSERT_TRUE(metadata.hasValue());
    const auto &told = dynamic_cast<const SchemeMetadata &>(*metadata.value());
    EXPECT_EQ(told.metadataItemType(), ResourceMetadata::ItemType::Folder);
    EXPECT_EQ(told.size(), 8);
}

TEST_F(FileResourceHandlerTest, metadata_ofNothing_fails)
{
    const auto metadata = handler(text(u"missing"_s))->retrieveMetadata();
    ASSERT_FALSE(metadata.hasValue());
    EXPECT_TRUE(metadata.error().errorMessage().contains(u"missing"_s));
}

TEST_F(FileResourceHandlerTest, cleanupPolicy_isAlwaysNever)
{
    const auto file = handler(text(u"a.raw"_s));
    EXPECT_EQ(file->cleanupPolicy().value(), ResourceCleanupPolicy::Never);
    EXPECT_FALSE(file->setCleanupPolicy(ResourceCleanupPolicy::Never).hasError());
    EXPECT_EQ(file->setCleanupPolicy(ResourceCleanupPolicy::OnClose).errorCode(),
              ErrorCode::FeatureLacking);
}
