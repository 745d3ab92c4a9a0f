#include "DataSourceLocation.h"

#include "BracketTranslator.h"
#include "database/DatabaseHandler.h"
#include "files/FilePathUtils.h"

#include <gtest/gtest.h>

#include <QDir>

#include <type_traits>

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;

namespace {

DataSourceLocation withAllParts(const QString &path)
{
    DataSourceLocation location(path);
    location.setDisplayName(u"label"_s);
    location.setSample(DataSourceLocation::Sample { u"A"_s, u"7"_s });
    location.setPayload(42);
    return location;
}

/// A kind that this library does not know, as a program may bring.
class OtherLocation : public DataSourceLocation
{
public:
    OtherLocation()
        : DataSourceLocation(3, u"x.raw"_s, nullptr)
    {
    }
};

class NamedLocation : public DataSourceLocation
{
public:
    using DataSourceLocation::DataSourceLocation;
    QString toString() const override { return u"named"_s; }
};

QString addressOf(const void *pointer)
{
    return u"0x"_s + QString::number(reinterpret_cast<quintptr>(pointer), 16);
}

// Never looked at, only carried.
DatabaseHandler *someHandler()
{
    static int place = 0;
    return reinterpret_cast<DatabaseHandler *>(&place);
}

uint hashOf(const QString &sample, const QString &displayName, const QString &path)
{
    return static_cast<uint>(qHash(sample, 0)) + static_cast<uint>(qHash(displayName, 0))
        + static_cast<uint>(qHash(path, 0));
}

} // namespace

TEST(DataSourceLocationTest, constructor_path_isALocalPathAndNothingElse)
{
    const DataSourceLocation location(u"a/../x.raw"_s);
    EXPECT_EQ(location.kind(), 1);
    EXPECT_EQ(location.path(), u"a/../x.raw"_s);
    EXPECT_EQ(location.dbHandler(), nullptr);
    EXPECT_EQ(location.displayName(), std::nullopt);
    EXPECT_EQ(location.sample(), std::nullopt);
    EXPECT_TRUE(location.payload().isNull());
    EXPECT_TRUE(std::has_virtual_destructor_v<DataSourceLocation>);
}

TEST(DataSourceLocationTest, fromDatabaseHandler_handler_isCarriedWithoutAPath)
{
    const auto location = DataSourceLocation::fromDatabaseHandler(someHandler());
    EXPECT_EQ(location.kind(), 2);
    EXPECT_EQ(location.dbHandler(), someHandler());
    EXPECT_EQ(location.path(), QString());
}

TEST(DataSourceLocationTest, copy_changedAfterwards_leavesTheOriginal)
{
    const DataSourceLocation original = withAllParts(u"/data/x.raw"_s);
    DataSourceLocation copy(original);
    EXPECT_EQ(copy.toString(), original.toString());
    EXPECT_EQ(copy.payload(), QVariant(42));

    copy.setDisplayName(std::nullopt);
    copy.setSample(std::nullopt);
    copy.setPayload({});
    EXPECT_EQ(original.displayName(), u"label"_s);
    EXPECT_EQ(original.sample(), (DataSourceLocation::Sample { u"A"_s, u"7"_s }));
    EXPECT_EQ(original.payload(), QVariant(42));

    copy = original;
    EXPECT_EQ(copy.hash(), original.hash());
}

TEST(DataSourceLocationTest, copy_ofAHandlersLocation_hasTheSameHandler)
{
    const auto original = DataSourceLocation::fromDatabaseHandler(someHandler());
    const DataSourceLocation copy(original);
    EXPECT_EQ(copy.kind(), 2);
    EXPECT_EQ(copy.dbHandler(), someHandler());
}

TEST(DataSourceLocationTest, normalizePath_relativePath_becomesAbsoluteAndClean)
{
    DataSourceLocation location(u"a/../x.raw/"_s);
    location.normalizePath();
    EXPECT_EQ(location.path(), QDir::currentPath() + u"/x.raw"_s);
}

TEST(DataSourceLocationTest, normalizePath_nothingToMakeAbsolute_staysAsItIs)
{
    auto behindHandler = DataSourceLocation::fromDatabaseHandler(someHandler());
    behindHandler.normalizePath();
    EXPECT_EQ(behindHandler.path(), QString());

    OtherLocation other;
    other.normalizePath();
    EXPECT_EQ(other.path(), u"x.raw"_s);
}

TEST(DataSourceLocationTest, checkValidVendorFilePath_empty_fails)
{
    const Error error = DataSourceLocation::checkValidVendorFilePath(QString());
    EXPECT_EQ(error.errorCode(), ErrorCode::BadArgument);
    EXPECT_EQ(error.errorMessage(), u"Vendor file name is empty"_s);
    EXPECT_EQ(error.trail().size(), 1);
}

TEST(DataSourceLocationTest, checkValidVendorFilePath_upToTheLimit_isFine)
{
    const QString longest(FilePathUtils::winMaxPathLength, u'x');
    for (const QString &path : { u"x"_s, u"/data/x.raw"_s, longest }) {
        const Error error = DataSourceLocation::checkValidVendorFilePath(path);
        EXPECT_FALSE(error.hasError());
        EXPECT_EQ(error.errorCode(), ErrorCode::Success);
    }
}

TEST(DataSourceLocationTest, checkValidVendorFilePath_beyondTheLimit_needsThePrefix)
{
    const QString tooLong(FilePathUtils::winMaxPathLength + 1, u'x');
    const Error error = DataSourceLocation::checkValidVendorFilePath(tooLong);
    EXPECT_EQ(error.errorCode(), ErrorCode::BadArgument);
    EXPECT_EQ(error.errorMessage(), u"The path exceeds 259"_s);
    EXPECT_EQ(error.trail().size(), 1);

    const QString prefixed = u"\\\\?\\"_s + tooLong;
    EXPECT_FALSE(DataSourceLocation::checkValidVendorFilePath(prefixed).hasError());
}

TEST(DataSourceLocationTest, checkValidVendorFilePath_failures_areTranslated)
{
    const test::BracketTranslator translator;
    EXPECT_EQ(DataSourceLocation::checkValidVendorFilePath(QString()).errorMessage(),
              u"zel::msreader::DataSourceLocation<Vendor file name is empty>"_s);
    EXPECT_EQ(DataSourceLocation::checkValidVendorFilePath(QString(300, u'x')).errorMessage(),
              u"zel::msreader::DataSourceLocation<The path exceeds 259>"_s);
}

TEST(DataSourceLocationTest, toString_pathAlone_hasNoOtherParts)
{
    EXPECT_EQ(DataSourceLocation(u"/data/x.raw"_s).toString(), u"[local_path: /data/x.raw]"_s);
    EXPECT_EQ(DataSourceLocation(QString()).toString(), u"[local_path: ]"_s);
}

TEST(DataSourceLocationTest, toString_allParts_followEachOther)
{
    EXPECT_EQ(withAllParts(u"/data/x.raw"_s).toString(),
              u"[local_path: /data/x.raw(label) : sampleName: A, nativeSampleId: 7]"_s);
}

TEST(DataSourceLocationTest, toString_sampleWithoutDisplayName_followsThePath)
{
    DataSourceLocation location(u"x.raw"_s);
    location.setSample(DataSourceLocation::Sample { u"%2"_s, QString() });
    EXPECT_EQ(location.toString(), u"[local_path: x.raw : sampleName: %2, nativeSampleId: ]"_s);
}

TEST(DataSourceLocationTest, toString_emptyDisplayName_writesNoParentheses)
{
    DataSourceLocation location(u"x.raw"_s);
    location.setDisplayName(QString());
    EXPECT_EQ(location.toString(), u"[local_path: x.raw]"_s);
    location.setDisplayName(u" "_s);
    EXPECT_EQ(location.toString(), u"[local_path: x.raw( )]"_s);
}

TEST(DataSourceLocationTest, toString_oddTexts_areWrittenAsTheyAre)
{
    DataSourceLocation location(u"/d a/\"ü\"\n\\x.raw"_s);
    location.setDisplayName(u"\"l\""_s);
    EXPECT_EQ(location.toString(), u"[local_path: /d a/\"ü\"\n\\x.raw(\"l\")]"_s);
}

TEST(DataSourceLocationTest, toString_databaseHandler_isItsAddress)
{
    auto location = DataSourceLocation::fromDatabaseHandler(someHandler());
    const QString address = addressOf(someHandler());
    EXPECT_EQ(location.toString(), u"[dbHandler: %1]"_s.arg(address));

    location.setDisplayName(u"label"_s);
    location.setSample(DataSourceLocation::Sample { u"A"_s, u"7"_s });
    EXPECT_EQ(location.toString(),
              u"[dbHandler: %1(label) : sampleName: A, nativeSampleId: 7]"_s.arg(address));
}

TEST(DataSourceLocationTest, toString_unknownKind_isEmptyBrackets)
{
    OtherLocation location;
    location.setDisplayName(u"label"_s);
    location.setSample(DataSourceLocation::Sample { u"A"_s, u"7"_s });
    EXPECT_EQ(location.toString(), u"[]"_s);
}

TEST(DataSourceLocationTest, toString_derivedClass_decides)
{
    const NamedLocation named(u"x.raw"_s);
    const DataSourceLocation &location = named;
    EXPECT_EQ(location.toString(), u"named"_s);
}

TEST(DataSourceLocationTest, toString_list_isJoined)
{
    const DataSourceLocation first(u"x.raw"_s);
    const DataSourceLocation second(u"y.raw"_s);
    EXPECT_EQ(DataSourceLocation::toString({ first, second }),
              u"[local_path: x.raw], [local_path: y.raw]"_s);
    EXPECT_EQ(DataSourceLocation::toString(QList { first }), u"[local_path: x.raw]"_s);
    EXPECT_EQ(DataSourceLocation::toString(QList<DataSourceLocation>()), QString());
}

TEST(DataSourceLocationTest, hash_parts_areSummedIn32Bits)
{
    EXPECT_EQ(DataSourceLocation(u"x.raw"_s).hash(), hashOf({}, {}, u"x.raw"_s));
    EXPECT_EQ(withAllParts(u"/data/x.raw"_s).hash(),
              hashOf(u"sampleName: A, nativeSampleId: 7"_s, u"label"_s, u"/data/x.raw"_s));
    EXPECT_EQ(DataSourceLocation::fromDatabaseHandler(someHandler()).hash(), hashOf({}, {}, {}));
}

TEST(DataSourceLocationTest, hash_onlyThePayloadDiffers_isTheSame)
{
    const DataSourceLocation one = withAllParts(u"x.raw"_s);
    DataSourceLocation other = one;
    other.setPayload(u"other"_s);
    EXPECT_EQ(one.hash(), other.hash());
}

TEST(DataSourceLocationTest, hash_anyOtherPartDiffers_differs)
{
    const DataSourceLocation one = withAllParts(u"x.raw"_s);
    DataSourceLocation named = one;
    named.setDisplayName(u"other"_s);
    DataSourceLocation sampled = one;
    sampled.setSample(std::nullopt);
    for (const DataSourceLocation &other : { named, sampled, withAllParts(u"y.raw"_s) })
        EXPECT_NE(one.hash(), other.hash());
}
