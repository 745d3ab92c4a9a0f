#include "SchemeMetadata.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

SchemeMetadata::Values allValues()
{
    SchemeMetadata::Values values;
    values.name = u"run.raw"_s;
    values.path = u"/a/run.raw"_s;
    values.fullPath = u"http://h/a/run.raw"_s;
    values.type = u"application/octet-stream"_s;
    values.itemType = ResourceMetadata::ItemType::File;
    values.size = 9007199254740993; // not exact as a number of JSON
    values.fileCount = 3;
    values.modified = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
    values.version = QVersionNumber(2, 1);
    return values;
}

} // namespace

TEST(SchemeMetadataTest, toJson_fromJson_givesTheSame)
{
    const SchemeMetadata original(allValues());
    const auto again = SchemeMetadata::fromJson(original.toJson());
    ASSERT_TRUE(again.hasValue());
    const auto &read = dynamic_cast<const SchemeMetadata &>(*again.value());
    EXPECT_EQ(read.metadataName(), original.metadataName());
    EXPECT_EQ(read.metadataPath(), original.metadataPath());
    EXPECT_EQ(read.metadataFullPath(), original.metadataFullPath());
    EXPECT_EQ(read.metadataType(), original.metadataType());
    EXPECT_EQ(read.metadataItemType(), original.metadataItemType());
    EXPECT_EQ(read.size(), original.size());
    EXPECT_EQ(read.fileCount(), 3);
    EXPECT_EQ(read.modified(), original.modified());
    EXPECT_EQ(read.metadataVersion(), original.metadataVersion());
}

TEST(SchemeMetadataTest, toJson_unknownValues_areLeftOut)
{
    SchemeMetadata::Values values;
    values.itemType = ResourceMetadata::ItemType::Folder;
    const QJsonObject object = SchemeMetadata(values).toJson();
    EXPECT_EQ(object.keys(),
              (QStringList { u"FullPath"_s, u"ItemType"_s, u"Name"_s, u"Path"_s, u"Type"_s }));
    EXPECT_EQ(object.value(u"ItemType"_s).toString(), u"Folder"_s);
    const auto again = SchemeMetadata::fromJson(object);
    const auto &read = dynamic_cast<const SchemeMetadata &>(*again.value());
    EXPECT_EQ(read.size(), std::nullopt);
    EXPECT_EQ(read.fileCount(), std::nullopt);
    EXPECT_FALSE(read.modified().isValid());
    EXPECT_TRUE(read.metadataVersion().isNull());
}

TEST(SchemeMetadataTest, fromJson_commonKeyMissing_hasCode4)
{
    for (const QString &key : { u"Name"_s, u"Path"_s, u"FullPath"_s }) {
        QJsonObject object = SchemeMetadata(allValues()).toJson();
        object.remove(key);
        const auto metadata = SchemeMetadata::fromJson(object);
        ASSERT_FALSE(metadata.hasValue());
        EXPECT_EQ(metadata.error().errorCode(), ErrorCode::BadData);
        EXPECT_TRUE(metadata.error().errorMessage().contains(key));
    }
}

TEST(SchemeMetadataTest, fromJson_unknownItemType_isInvalid)
{
    QJsonObject object = SchemeMetadata(allValues()).toJson();
    object.insert(u"ItemType"_s, u"Whatever"_s);
    EXPECT_EQ(SchemeMetadata::fromJson(object).value()->metadataItemType(),
              ResourceMetadata::ItemType::Invalid);
}
