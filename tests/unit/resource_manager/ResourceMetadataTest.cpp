#include "ResourceItem.h"
#include "ResourceMetadataFactory.h"
#include "support/TestHandlers.h"
#include "support/TestReference.h"

#include <QDebug>
#include <QMetaEnum>
#include <QSequentialIterable>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Has more to tell than the base.
class TalkativeMetadata : public TestMetadata
{
public:
    using TestMetadata::TestMetadata;

    QJsonObject toJson() const override
    {
        QJsonObject object = TestMetadata::toJson();
        object.insert(kType, metadataType());
        object.insert(kItemType, static_cast<int>(metadataItemType()));
        return object;
    }
};

class ResourceMetadataFactoryTest : public testing::Test
{
protected:
    using Scheme = ResourceReference::Scheme;

    static ResourceMetadataCreator creatorOf(const QString &name)
    {
        return [name](const QJsonObject &) -> Result<QSharedPointer<ResourceMetadata>> {
            return QSharedPointer<ResourceMetadata>(new TestMetadata(name));
        };
    }
    void TearDown() override { ResourceMetadataFactory::s_createFuncs.clear(); }
};

} // namespace

TEST(ResourceMetadataTest, toJson_notOverridden_hasExactlyThreeKeys)
{
    const QJsonObject expected { { u"Name"_s, u"a"_s },
                                 { u"Path"_s, u"/metadata/a"_s },
                                 { u"FullPath"_s, u"/metadata/full/a"_s } };
    EXPECT_EQ(TestMetadata(u"a"_s).toJson(), expected);
}

TEST(ResourceMetadataTest, toJson_overridden_addsItsOwnKeys)
{
    const QJsonObject object = TalkativeMetadata(u"a"_s).toJson();
    EXPECT_EQ(object.value(u"Type"_s).toString(), u"test"_s);
    EXPECT_EQ(object.value(u"ItemType"_s).toInt(), 1);
    EXPECT_EQ(object.size(), 5);
}

TEST(ResourceMetadataTest, itemType_printed_showsItsName)
{
    QString text;
    QDebug(&text) << ResourceMetadata::ItemType::Folder;
    EXPECT_TRUE(text.contains(u"Folder"_s)) << qPrintable(text);
}

TEST(ResourceMetadataTest, staticMetaObject_always_isNamedWithItsNamespaceAndHoldsTheEnumeration)
{
    const QMetaObject &metaObject = ResourceMetadata::staticMetaObject;
    EXPECT_STREQ(metaObject.className(), "zel::ResourceMetadata");
    EXPECT_EQ(metaObject.enumeratorCount(), 1);
    EXPECT_EQ(metaObject.propertyCount() + metaObject.methodCount(), 0);
    EXPECT_TRUE(metaObject.enumerator(0).isScoped());
}

TEST(ResourceMetadataTest, qHash_knownValues_areTheSameEverywhere)
{
    using ItemType = ResourceMetadata::ItemType;
    EXPECT_EQ(qHash(ItemType::Invalid, 0u), 0u);
    EXPECT_EQ(qHash(ItemType::File, 0u), 3770736848u);
    EXPECT_EQ(qHash(ItemType::Folder, 0u), 1609286226u);
}

TEST(ResourceMetadataTest, qHash_seed_isMixedIntoTheValue)
{
    using ItemType = ResourceMetadata::ItemType;
    EXPECT_EQ(qHash(ItemType::File, 1u), 0u);
    EXPECT_EQ(qHash(ItemType::Invalid, 1u), qHash(ItemType::File, 0u));
    const QSet<ItemType> types { ItemType::File, ItemType::Folder };
    EXPECT_TRUE(types.contains(ItemType::Folder));
    EXPECT_FALSE(types.contains(ItemType::Invalid));
}

TEST(ResourceMetadataTest, metaTypes_ofResults_haveTheirNames)
{
    EXPECT_STREQ(QMetaType::fromType<QSharedPointer<ResourceMetadata>>().name(),
                 "QSharedPointer<zel::ResourceMetadata>");
    EXPECT_STREQ(QMetaType::fromType<QSharedPointer<ResourceReference>>().name(),
                 "QSharedPointer<zel::ResourceReference>");
    EXPECT_STREQ(QMetaType::fromType<QList<QSharedPointer<ResourceReference>>>().name(),
                 "QList<QSharedPointer<zel::ResourceReference>>");
    EXPECT_EQ(QMetaType::fromName("zel::ResourceReferenceSPtr").id(),
              qMetaTypeId<QSharedPointer<ResourceReference>>());
}

TEST(ResourceMetadataTest, listOfReferences_inAVariant_canBeReadAsASequence)
{
    registerTestSchemes();
    const QList<QSharedPointer<ResourceReference>> list { testReference(u"a"_s),
                                                          testReference(u"b"_s) };
    const QVariant variant = QVariant::fromValue(list);
    ASSERT_TRUE(variant.canConvert<QSequentialIterable>());
    const auto sequence = variant.value<QSequentialIterable>();
    EXPECT_EQ(sequence.size(), 2);
    EXPECT_EQ(sequence.at(1).value<QSharedPointer<ResourceReference>>(), list.at(1));
}

TEST(ResourceItemTest, item_moved_leavesNulls)
{
    registerTestSchemes();
    ResourceItem item { testReference(u"a"_s),
                        QSharedPointer<ResourceMetadata>(new TestMetadata(u"a"_s)) };
    const ResourceItem copy = item;
    const ResourceItem moved = std::move(item);
    EXPECT_EQ(moved.reference, copy.reference);
    EXPECT_EQ(moved.metadata, copy.metadata);
    EXPECT_TRUE(item.reference.isNull());
    EXPECT_TRUE(item.metadata.isNull());
    EXPECT_TRUE(ResourceItem().reference.isNull());
}

TEST_F(ResourceMetadataFactoryTest, create_registered_givesTheCreatorTheObjectUnread)
{
    QJsonObject seen;
    ResourceMetadataFactory::registerMetadataScheme(
        Scheme::Host1,
        [&seen](const QJsonObject &object) -> Result<QSharedPointer<ResourceMetadata>> {
            seen = object;
            return QSharedPointer<ResourceMetadata>(new TestMetadata(u"a"_s));
        });
    const QJsonObject object { { u"no key of ours"_s, 7 } };
    const auto metadata = ResourceMetadata::fromJson(object, Scheme::Host1);
    ASSERT_TRUE(metadata.hasValue());
    EXPECT_EQ(metadata.value()->metadataName(), u"a"_s);
    EXPECT_EQ(seen, object);
}

TEST_F(ResourceMetadataFactoryTest, create_notRegistered_namesTheScheme)
{
    const auto metadata = ResourceMetadataFactory::create({}, Scheme::Host3);
    ASSERT_FALSE(metadata.hasValue());
    EXPECT_EQ(metadata.error().errorCode(), ErrorCode::BadArgument);
    EXPECT_EQ(metadata.error().errorMessage(),
              u"Resource metadata with scheme \"Host3\" is not supported."_s);
}

TEST_F(ResourceMetadataFactoryTest, create_schemeWithoutAKey_hasAnEmptyName)
{
    const auto metadata = ResourceMetadataFactory::create({}, static_cast<Scheme>(99));
    ASSERT_FALSE(metadata.hasValue());
    EXPECT_EQ(metadata.error().errorMessage(),
              u"Resource metadata with scheme \"\" is not supported."_s);
}

TEST_F(ResourceMetadataFactoryTest, create_creatorFails_passesItsFailureOn)
{
    ResourceMetadataFactory::registerMetadataScheme(
        Scheme::Host1, [](const QJsonObject &) -> Result<QSharedPointer<ResourceMetadata>> {
            return Error(42, u"no"_s);
        });
    const auto metadata = ResourceMetadataFactory::create({}, Scheme::Host1);
    ASSERT_FALSE(metadata.hasValue());
    EXPECT_EQ(metadata.error(), Error(42, u"no"_s));
    EXPECT_FALSE(metadata.error().trail().isEmpty());
    EXPECT_EQ(ResourceMetadataFactory::s_createFuncs.size(), 1);
}

TEST_F(ResourceMetadataFactoryTest, registerMetadataScheme_twice_keepsTheSecond)
{
    ResourceMetadataFactory::registerMetadataScheme(Scheme::Host1, creatorOf(u"first"_s));
    ResourceMetadataFactory::registerMetadataScheme(Scheme::Host1, creatorOf(u"second"_s));
    EXPECT_EQ(ResourceMetadataFactory::create({}, Scheme::Host1).value()->metadataName(),
              u"second"_s);
}

TEST_F(ResourceMetadataFactoryTest, unregisterMetadataScheme_notRegistered_changesNothing)
{
    ResourceMetadataFactory::registerMetadataScheme(Scheme::Host1, creatorOf(u"a"_s));
    ResourceMetadataFactory::unregisterMetadataScheme(Scheme::Host2);
    EXPECT_EQ(ResourceMetadataFactory::s_createFuncs.keys(), QList<Scheme> { Scheme::Host1 });
}

TEST_F(ResourceMetadataFactoryTest, unregisterMetadataScheme_registered_endsItsSupport)
{
    ResourceMetadataFactory::registerMetadataScheme(Scheme::Host1, creatorOf(u"a"_s));
    ResourceMetadataFactory::unregisterMetadataScheme(Scheme::Host1);
    EXPECT_FALSE(ResourceMetadataFactory::create({}, Scheme::Host1).hasValue());
}

TEST_F(ResourceMetadataFactoryTest, create_creatorUnregistersItself_livesThroughTheCall)
{
    const auto name = std::make_shared<QString>(u"kept"_s);
    ResourceMetadataFactory::registerMetadataScheme(
        Scheme::Host1, [name](const QJsonObject &) -> Result<QSharedPointer<ResourceMetadata>> {
            ResourceMetadataFactory::unregisterMetadataScheme(Scheme::Host1);
            return QSharedPointer<ResourceMetadata>(new TestMetadata(*name));
        });
    EXPECT_EQ(ResourceMetadataFactory::create({}, Scheme::Host1).value()->metadataName(),
              u"kept"_s);
}
