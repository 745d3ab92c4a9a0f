#include "reports/ListSelection.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

ResourceCacheReader::Resource resource(const QString &reference, qint64 size, qint64 lastAccess,
                                       const QString &path, ResourceStatus status)
{
    ResourceCacheReader::Resource made;
    made.reference = reference;
    made.size = size;
    made.lastAccess = lastAccess;
    made.path = path;
    made.status = status;
    return made;
}

QList<ResourceCacheReader::Resource> resources()
{
    return { resource(u"b"_s, 10, 30, u"/c/b.raw"_s, ResourceStatus::Ready),
             resource(u"a"_s, 30, 20, u"/c/a.mzML"_s, ResourceStatus::Ready),
             resource(u"d"_s, 10, 10, {}, ResourceStatus::Missing),
             resource(u"c"_s, 20, 10, u"/c/c.MZML"_s, ResourceStatus::Acquiring) };
}

QString selected(const QString &order, const QString &status, const QString &format)
{
    const auto selection = ListSelection::fromTexts(order, status, format);
    if (!selection.hasValue())
        return selection.error().errorMessage();
    QString names;
    for (const auto &each : selection.value().applied(resources()))
        names += each.reference;
    return names;
}

} // namespace

TEST(ListSelectionTest, applied_nothingChosen_staysAsItIs)
{
    EXPECT_EQ(selected({}, {}, {}), u"badc"_s);
}

TEST(ListSelectionTest, applied_orders_keepEqualsAsAdded)
{
    EXPECT_EQ(selected(u"size"_s, {}, {}), u"acbd"_s);
    EXPECT_EQ(selected(u"AGE"_s, {}, {}), u"dcab"_s);
    EXPECT_EQ(selected(u"Name"_s, {}, {}), u"abcd"_s);
}

TEST(ListSelectionTest, applied_statuses_areTheOnlyOnesLeft)
{
    EXPECT_EQ(selected({}, u"ready"_s, {}), u"ba"_s);
    EXPECT_EQ(selected({}, u"Missing"_s, {}), u"d"_s);
    EXPECT_EQ(selected({}, u"ACQUIRING"_s, {}), u"c"_s);
    EXPECT_EQ(selected({}, u"ScheduledForAcquire"_s, {}), QString());
    EXPECT_EQ(selected({}, u"invalid"_s, {}), QString());
}

TEST(ListSelectionTest, applied_formats_areToldByTheNameOfTheCopy)
{
    EXPECT_EQ(selected({}, {}, u"mzml"_s), u"ac"_s);
    EXPECT_EQ(selected({}, {}, u"THERMO"_s), u"b"_s);
    EXPECT_EQ(selected({}, {}, u"Waters"_s), u"b"_s);
    EXPECT_EQ(selected({}, {}, u"DataCutEmbedded"_s), QString());
}

TEST(ListSelectionTest, applied_allTogether_combine)
{
    EXPECT_EQ(selected(u"age"_s, {}, u"mzml"_s), u"ca"_s);
    EXPECT_EQ(selected(u"name"_s, u"ready"_s, u"mzml"_s), u"a"_s);
}

TEST(ListSelectionTest, applied_prefix_isThatOfReferencesInTheirOwnCase)
{
    ListSelection selection;
    selection.prefix = u"share:/A"_s;
    const auto left
        = selection.applied({ resource(u"share:/Ab"_s, 1, 1, {}, ResourceStatus::Missing),
                              resource(u"share:/ab"_s, 1, 1, {}, ResourceStatus::Missing),
                              resource(u"file:share:/A"_s, 1, 1, {}, ResourceStatus::Missing) });
    ASSERT_EQ(left.size(), 1);
    EXPECT_EQ(left.constFirst().reference, u"share:/Ab"_s);
}

TEST(ListSelectionTest, fromTexts_unknownWords_areCode2AndNameTheKnownOnes)
{
    EXPECT_EQ(selected(u"colour"_s, {}, {}),
              u"There is no order \"colour\", only size, age, name."_s);
    EXPECT_EQ(selected({}, u"red"_s, {}),
              u"There is no status \"red\", only Invalid, Missing, Ready, ScheduledForAcquire, "
              "Acquiring."_s);
    const QString unknownFormat = selected({}, {}, u"%1"_s);
    EXPECT_TRUE(unknownFormat.startsWith(u"There is no format \"%1\", only Testing, "_s))
        << qPrintable(unknownFormat);
    EXPECT_TRUE(unknownFormat.contains(u"Thermo"_s)) << qPrintable(unknownFormat);
    const auto failure = ListSelection::fromTexts({}, u"red"_s, {}).error();
    EXPECT_EQ(failure.errorCode(), ErrorCode::BadArgument);
}

} // namespace zel::cli
