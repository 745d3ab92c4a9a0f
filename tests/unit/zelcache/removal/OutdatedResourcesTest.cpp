#include "removal/OutdatedResources.h"

#include "Printers.h"
#include "SchemesRegistration.h"

#include <gtest/gtest.h>

#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

ResourceCacheReader::Resource resource(const QString &reference, const QVersionNumber &version,
                                       ResourceStatus status = ResourceStatus::Ready)
{
    ResourceCacheReader::Resource made;
    made.reference = reference;
    made.size = 1024;
    made.version = version;
    made.status = status;
    return made;
}

class OutdatedResourcesTest : public testing::Test
{
protected:
    // They declare version 1.0.
    OutdatedResourcesTest() { registerResourceSchemes(); }

    ResourceCacheReader::Snapshot snapshot;
};

} // namespace

TEST_F(OutdatedResourcesTest, outdatedOf_resources_areThoseOfAnOlderMajorVersion)
{
    snapshot.resources = {
        resource(u"share:/older"_s, QVersionNumber(0, 9)),
        resource(u"share:/same"_s, QVersionNumber(1, 0)),
        resource(u"share:/olderMinor"_s, QVersionNumber(1)),
        resource(u"share:/none"_s, {}),
        resource(u"share:/newer"_s, QVersionNumber(2)),
        resource(u"share:/missing"_s, {}, ResourceStatus::Missing),
        resource(u"share:/coming"_s, {}, ResourceStatus::Acquiring),
    };
    const auto outdated = outdatedOf(snapshot, { { u"share:/none"_s, { 12 } } });
    ASSERT_TRUE(outdated.hasValue());
    ASSERT_EQ(outdated.value().size(), 2);
    EXPECT_EQ(outdated.value().at(0).resource.reference, u"share:/older"_s);
    EXPECT_EQ(outdated.value().at(0).declared, QVersionNumber(1, 0));
    EXPECT_TRUE(outdated.value().at(0).processes.isEmpty());
    EXPECT_EQ(outdated.value().at(1).processes, UserProcesses { 12 });
}

TEST_F(OutdatedResourcesTest, outdatedOf_readyReferenceThatCannotBeRead_failsAndNamesIt)
{
    snapshot.resources = { resource(u"lims:a"_s, {}, ResourceStatus::Missing) };
    EXPECT_TRUE(outdatedOf(snapshot, {}).hasValue());
    snapshot.resources.append(resource(u"lims:b"_s, QVersionNumber(1)));
    const auto outdated = outdatedOf(snapshot, {});
    ASSERT_FALSE(outdated.hasValue());
    EXPECT_EQ(outdated.error().errorCode(), ErrorCode::BadArgument);
    EXPECT_TRUE(outdated.error().errorMessage().startsWith(u"lims:b: "_s));
}

TEST_F(OutdatedResourcesTest, reportOf_states_tellWhatWentFromWhatIsLeft)
{
    const OutdatedResource first { resource(u"share:/a"_s, {}), QVersionNumber(1, 0), {} };
    const OutdatedResource second { resource(u"share:/b"_s, QVersionNumber(0, 9)),
                                    QVersionNumber(1, 0),
                                    {} };
    const OutdatedReport report = reportOf({ first, second }, { second });
    EXPECT_EQ(outdatedLines(report)(0), u"1.0 KiB  none -> 1.0  share:/a"_s);
    EXPECT_EQ(outdatedLines(report)(1), u"1 resource removed, 1.0 KiB freed"_s);
    const QJsonObject json = outdatedJson(report);
    EXPECT_EQ(json.value(u"freed"_s).toInt(), 1024);
    EXPECT_FALSE(json.value(u"dryRun"_s).toBool(true));
    const QJsonObject left = json.value(u"left"_s).toArray().at(0).toObject();
    EXPECT_EQ(left.value(u"reference"_s).toString(), u"share:/b"_s);
    EXPECT_EQ(left.value(u"version"_s).toString(), u"0.9"_s);
    const QJsonObject removed = json.value(u"removed"_s).toArray().at(0).toObject();
    EXPECT_TRUE(removed.value(u"version"_s).isNull());
    EXPECT_EQ(removed.value(u"declaredVersion"_s).toString(), u"1.0"_s);
}

} // namespace zel::cli
