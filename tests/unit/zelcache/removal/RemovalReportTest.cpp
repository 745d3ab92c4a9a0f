#include "removal/RemovalReport.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

ResourceCacheReader::Resource resource(const QString &reference, qint64 size, qint64 lastAccess)
{
    ResourceCacheReader::Resource made;
    made.reference = reference;
    made.hasPath = true;
    made.size = size;
    made.lastAccess = lastAccess;
    return made;
}

QList<Pin::Reason> reasonsOf(const QList<Pin> &pins)
{
    QList<Pin::Reason> reasons;
    for (const Pin &pin : pins)
        reasons.append(pin.reason);
    return reasons;
}

QJsonObject objectOf(const QString &json)
{
    return QJsonDocument::fromJson(json.toUtf8()).object();
}

} // namespace

TEST(RemovalReportTest, countText_counts_haveTheirPlural)
{
    EXPECT_EQ(countText(0), u"0 resources"_s);
    EXPECT_EQ(countText(1), u"1 resource"_s);
    EXPECT_EQ(countText(2), u"2 resources"_s);
}

TEST(RemovalReportTest, pinsOf_everythingWithData_hasItsReason)
{
    ResourceCacheReader::Snapshot after;
    after.resources = { resource(u"used"_s, 10, 1),    resource(u"unsized"_s, 0, 2),
                        resource(u"stuck"_s, 30, 3),   resource(u"newer"_s, 40, 99),
                        resource(u"unheard"_s, 50, 5), {} };
    const ResourceRows planned { resource(u"stuck"_s, 30, 3), resource(u"newer"_s, 40, 4) };
    const QList<Pin> pins = pinsOf(after, { { u"used"_s, { 12 } } }, planned);
    using Reason = Pin::Reason;
    EXPECT_EQ(reasonsOf(pins),
              (QList<Reason> { Reason::InUse, Reason::SizeUnknown, Reason::NotRemoved,
                               Reason::Newer, Reason::Newer }));
    EXPECT_EQ(pins.at(0).processes, UserProcesses { 12 });
}

TEST(RemovalReportTest, pinLines_many_nameTheLargestAndCountTheRest)
{
    QList<Pin> pins;
    for (const qint64 size : { 10, 30, 20, 5 })
        pins.append({ resource(u"r%1"_s.arg(size), size, 0), Pin::Reason::NotRemoved, {} });
    EXPECT_EQ(
        pinLines(pins, 2),
        (QStringList { u"r30 (30 B) could not be removed"_s, u"r20 (20 B) could not be removed"_s,
                       u"... and 2 resources more"_s }));
    EXPECT_EQ(pinLines(pins.first(1), 2).size(), 1);
    EXPECT_TRUE(pinLines({}, 2).isEmpty());
}

TEST(RemovalReportTest, purgeJson_report_hasTheDocumentedMembers)
{
    PurgeReport report;
    report.isDryRun = true;
    report.removed = { resource(u"a"_s, 10, 1), resource(u"b"_s, 20, 2) };
    report.goal = 50;
    report.size = 60;
    const QJsonObject json = purgeJson(report);
    EXPECT_EQ(json.keys(),
              (QStringList { u"dryRun"_s, u"freed"_s, u"goal"_s, u"goalReached"_s, u"pinned"_s,
                             u"removed"_s, u"size"_s }));
    EXPECT_EQ(json.value(u"freed"_s).toInt(), 30);
    EXPECT_FALSE(json.value(u"goalReached"_s).toBool());
    EXPECT_EQ(json.value(u"removed"_s), QJsonArray());
    EXPECT_EQ(json.value(u"pinned"_s), QJsonArray());
}

TEST(RemovalReportTest, removedJson_oddReference_isJson)
{
    PurgeReport report;
    report.removed = { resource(u"a"_s, 10, 1), resource(u"b\"\x1b"_s, 20, 2) };
    EXPECT_EQ(
        objectOf(removedJson(report)(0)),
        (QJsonObject { { u"reference"_s, u"a"_s }, { u"size"_s, 10 }, { u"lastAccess"_s, 1 } }));
    EXPECT_FALSE(removedJson(report)(1).contains(u'\x1b'));
    EXPECT_EQ(objectOf(removedJson(report)(1)).value(u"reference"_s).toString(), u"b\"\x1b"_s);
}

TEST(RemovalReportTest, pinnedJson_pins_haveTheirReason)
{
    const QList<Pin> pins { { resource(u"c"_s, 60, 3), Pin::Reason::InUse, {} } };
    const QJsonObject json = objectOf(pinnedJson(pins)(0));
    EXPECT_EQ(
        json.keys(),
        (QStringList { u"lastAccess"_s, u"processes"_s, u"reason"_s, u"reference"_s, u"size"_s }));
    EXPECT_EQ(json.value(u"reason"_s).toString(), u"inUse"_s);
}

TEST(RemovalReportTest, purgeLines_resources_areAlignedAndSummedUp)
{
    PurgeReport report;
    report.removed = { resource(u"a"_s, 10, 1), resource(u"b"_s, 2048, 2) };
    report.size = 5;
    const TextAt lines = purgeLines(report);
    EXPECT_TRUE(lines(0).startsWith(u"   10 B  "_s)) << lines(0).toStdString();
    EXPECT_TRUE(lines(1).startsWith(u"2.0 KiB  "_s)) << lines(1).toStdString();
    EXPECT_TRUE(lines(1).endsWith(u"  b"_s));
    EXPECT_EQ(lines(2), u"2 resources removed, 2.0 KiB freed; 5 B left"_s);
}

} // namespace zel::cli
