#include "reports/RecountReport.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Snapshot = ResourceCacheReader::Snapshot;

void add(Snapshot &snapshot, const QString &reference, ResourceStatus status, qint64 size)
{
    ResourceCacheReader::Resource resource;
    resource.reference = reference;
    resource.status = status;
    resource.size = size;
    snapshot.resources.append(resource);
    snapshot.currentSize += size;
}

RecountReport grownCache()
{
    Snapshot before;
    add(before, u"a"_s, ResourceStatus::Ready, 1024);
    add(before, u"b"_s, ResourceStatus::Ready, 5);
    add(before, u"fetched"_s, ResourceStatus::Acquiring, 0);
    add(before, u"purged"_s, ResourceStatus::Ready, 7);
    Snapshot after;
    add(after, u"a"_s, ResourceStatus::Ready, 3072);
    add(after, u"b"_s, ResourceStatus::Ready, 5);
    add(after, u"fetched"_s, ResourceStatus::Ready, 100);
    add(after, u"purged"_s, ResourceStatus::Missing, 0);
    add(after, u"new"_s, ResourceStatus::Ready, 100);
    return recountReport(before, after);
}

} // namespace

TEST(RecountReportTest, recountReport_whatOthersDidMeanwhile_isLeftOut)
{
    const RecountReport report = grownCache();
    ASSERT_EQ(report.results.size(), 1);
    EXPECT_EQ(report.results.at(0).reference, u"a"_s);
    EXPECT_EQ(report.results.at(0).before, 1024);
    EXPECT_EQ(report.results.at(0).after, 3072);
    EXPECT_EQ(report.totalBefore, 1036);
    EXPECT_EQ(report.totalAfter, 3277);
}

TEST(RecountReportTest, recountLines_changes_tellOldAndNew)
{
    EXPECT_EQ(recountLines(grownCache()),
              (QStringList { u"1.0 KiB -> 3.0 KiB  a"_s, u"Whole cache: 1.0 KiB -> 3.2 KiB"_s }));
}

TEST(RecountReportTest, recountLines_smallChangeOfSomethingBig_isToldInBytes)
{
    RecountReport report;
    report.results.append({ u"a %1"_s, {}, false, 1073741824, 1073741825 });
    report.totalBefore = 1073741824;
    report.totalAfter = 1073741825;
    EXPECT_EQ(recountLines(report),
              (QStringList { u"1073741824 -> 1073741825 bytes  a %1"_s,
                             u"Whole cache: 1073741824 -> 1073741825 bytes"_s }));
}

TEST(RecountReportTest, recountLines_nothingChanged_isOneLine)
{
    RecountReport report;
    report.results.append({ u"a"_s, {}, false, 1024, 1024 });
    report.results.append({ u"b"_s, Error(int(3), u"not here"_s), true, 0, 0 });
    report.totalBefore = report.totalAfter = 1024;
    EXPECT_EQ(recountLines(report), QStringList { u"Whole cache: 1.0 KiB, as before"_s });
}

TEST(RecountReportTest, recountJson_results_areSizesOrAnError)
{
    RecountReport report;
    report.results.append({ u"a"_s, {}, false, 1, 2 });
    report.results.append({ u"b"_s, Error(int(3), u"not here"_s), true, 0, 0 });
    report.totalBefore = 1;
    report.totalAfter = 2;
    const QJsonObject object = recountJson(report);
    const QJsonArray results = object.value(u"results"_s).toArray();
    ASSERT_EQ(results.size(), 2);
    EXPECT_EQ(results.at(0).toObject(),
              (QJsonObject { { u"reference"_s, u"a"_s }, { u"before"_s, 1 }, { u"after"_s, 2 } }));
    EXPECT_EQ(results.at(1).toObject().value(u"reference"_s).toString(), u"b"_s);
    EXPECT_EQ(results.at(1).toObject().value(u"error"_s).toObject().value(u"code"_s).toInt(), 3);
    EXPECT_FALSE(results.at(1).toObject().contains(u"after"_s));
    EXPECT_EQ(object.value(u"total"_s).toObject(),
              (QJsonObject { { u"before"_s, 1 }, { u"after"_s, 2 } }));
}

} // namespace zel::cli
