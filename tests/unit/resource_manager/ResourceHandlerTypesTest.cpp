#include "ResourceHandlerTypes.h"

#include <QMetaEnum>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(ResourceHandlerTypesTest, resourceStatus_numbersAndTexts_areTheStoredOnes)
{
    const QStringList texts { u"Invalid"_s, u"Missing"_s, u"Ready"_s, u"ScheduledForAcquire"_s,
                              u"Acquiring"_s };
    for (int number = 0; number < texts.size(); ++number) {
        EXPECT_EQ(toText(static_cast<ResourceStatus>(number)), texts[number]);
        EXPECT_EQ(static_cast<int>(toResourceStatus(texts[number], ResourceStatus::Invalid)),
                  number);
    }
}

TEST(ResourceHandlerTypesTest, resourceCleanupPolicy_numbersAndTexts_areTheStoredOnes)
{
    const QStringList texts { u"Invalid"_s, u"Never"_s, u"OnClose"_s, u"OnDemand"_s };
    for (int number = 0; number < texts.size(); ++number) {
        EXPECT_EQ(toText(static_cast<ResourceCleanupPolicy>(number)), texts[number]);
        EXPECT_EQ(static_cast<int>(
                      toResourceCleanupPolicy(texts[number], ResourceCleanupPolicy::Invalid)),
                  number);
    }
}

TEST(ResourceHandlerTypesTest, toText_valueWithoutKey_isEmptyAndNotNull)
{
    EXPECT_EQ(toText(static_cast<ResourceStatus>(99)), QString());
    EXPECT_FALSE(toText(static_cast<ResourceStatus>(99)).isNull());
    EXPECT_FALSE(toText(static_cast<ResourceCleanupPolicy>(99)).isNull());
}

TEST(ResourceHandlerTypesTest, toResourceStatus_noKey_givesTheFallback)
{
    for (const QString &text : { u""_s, QString(), u"ready"_s, u" Ready"_s, u"2"_s, u"Rdy"_s }) {
        EXPECT_EQ(toResourceStatus(text, ResourceStatus::Invalid), ResourceStatus::Invalid);
        EXPECT_EQ(toResourceStatus(text, ResourceStatus::Acquiring), ResourceStatus::Acquiring);
    }
}

TEST(ResourceHandlerTypesTest, toResourceCleanupPolicy_noKey_givesTheFallback)
{
    EXPECT_EQ(toResourceCleanupPolicy(u"never"_s, ResourceCleanupPolicy::OnClose),
              ResourceCleanupPolicy::OnClose);
}

TEST(ResourceHandlerTypesTest, metaObject_scopeAndEnumerators_haveTheirNames)
{
    EXPECT_STREQ(QMetaEnum::fromType<ResourceStatus>().name(), "ResourceStatus");
    EXPECT_STREQ(QMetaEnum::fromType<ResourceCleanupPolicy>().name(), "ResourceCleanupPolicy");
    const QByteArray scope = QMetaEnum::fromType<ResourceStatus>().scope();
    EXPECT_TRUE(scope.endsWith("ZEL_QEnumsResourceHandlerTypes")) << scope.constData();
}
