#include "ResourceLookup.h"

#include "Printers.h"
#include "SchemesRegistration.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

ResourceCacheReader::Snapshot snapshotWith(const QStringList &references)
{
    ResourceCacheReader::Snapshot snapshot;
    for (const QString &reference : references) {
        ResourceCacheReader::Resource resource;
        resource.reference = reference;
        snapshot.resources.append(resource);
    }
    return snapshot;
}

} // namespace

TEST(ResourceLookupTest, keyOf_reference_isItsKeyFormWhetherTheCacheKnowsItOrNot)
{
    registerResourceSchemes();
    for (const QStringList &known : { QStringList {}, QStringList { u"share:/a/b"_s } }) {
        const auto key = keyOf(snapshotWith(known), u"share:/a/./b"_s);
        ASSERT_TRUE(key.hasValue());
        EXPECT_EQ(key.value(), u"share:/a/b"_s);
    }
}

TEST(ResourceLookupTest, keyOf_keyOfAnUnknownScheme_isFoundOnlyIfTheCacheKnowsIt)
{
    const auto key = keyOf(snapshotWith({ u"lims:a b"_s }), u"lims:a b"_s);
    ASSERT_TRUE(key.hasValue());
    EXPECT_EQ(key.value(), u"lims:a b"_s);
    const auto none = keyOf(snapshotWith({}), u"lims:a b"_s);
    ASSERT_FALSE(none.hasValue());
    EXPECT_EQ(none.error().errorCode(), ErrorCode::BadArgument);
}

TEST(ResourceLookupTest, possibleKeysOf_argument_areWhatKeyOfFinds)
{
    registerResourceSchemes();
    EXPECT_EQ(possibleKeysOf(u"share:/a/./b"_s),
              (QStringList { u"share:/a/./b"_s, u"share:/a/b"_s }));
    EXPECT_EQ(possibleKeysOf(u"lims:a b"_s), QStringList { u"lims:a b"_s });
}

TEST(ResourceLookupTest, resourceOf_key_isTheRowOrNothing)
{
    const auto snapshot = snapshotWith({ u"a"_s, u"b"_s });
    ASSERT_TRUE(resourceOf(snapshot, u"b"_s));
    EXPECT_EQ(resourceOf(snapshot, u"b"_s)->reference, u"b"_s);
    EXPECT_FALSE(resourceOf(snapshot, u"B"_s));
}

} // namespace zel::cli
