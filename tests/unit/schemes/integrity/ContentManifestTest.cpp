#include "ManifestSample.h"

#include "integrity/ManifestText.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject sampleObject()
{
    return QJsonDocument::fromJson(sampleManifest().toJson()).object();
}

bool isRead(const QJsonObject &object)
{
    const auto read = ContentManifest::fromJson(QJsonDocument(object).toJson());
    EXPECT_TRUE(read.hasValue() || read.error().errorCode() == ErrorCode::BadData);
    // As it is written, it is taken apart as a text.
    const auto quick
        = ContentManifest::fromJson(QJsonDocument(object).toJson(QJsonDocument::Compact));
    EXPECT_EQ(quick.hasValue(), read.hasValue());
    if (quick.hasValue() && read.hasValue()) {
        EXPECT_EQ(quick.value(), read.value());
    }
    return read.hasValue();
}

/// The sample with one member set to another value.
bool isReadWith(const QString &name, const QJsonValue &value)
{
    QJsonObject object = sampleObject();
    object.insert(name, value);
    return isRead(object);
}

/// The same for its first file.
bool isReadWithFile(const QString &name, const QJsonValue &value)
{
    QJsonObject object = sampleObject();
    QJsonArray files = object.value(u"files"_s).toArray();
    QJsonObject file = files.first().toObject();
    file.insert(name, value);
    files.replace(0, file);
    object.insert(u"files"_s, files);
    return isRead(object);
}

} // namespace

TEST(ContentManifestTest, fromJson_whatWasWritten_isTheSame)
{
    const ContentManifest manifest = sampleManifest();
    const auto read = ContentManifest::fromJson(manifest.toJson());
    ASSERT_TRUE(read.hasValue()) << read.error().description().toStdString();
    EXPECT_EQ(read.value(), manifest);
}

TEST(ContentManifestTest, takenApart_whatIsWritten_isUnderstood)
{
    ContentManifest manifest = sampleManifest();
    manifest.files.first().path = "run.d/\"files\":[{\\";
    const QByteArray json = manifest.toJson();
    const auto text = ManifestText::takenApart(json);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->files.size(), manifest.files.size());
    EXPECT_LT(text->head.size(), json.size());
    EXPECT_EQ(ContentManifest::fromJson(json).value(), manifest);
}

TEST(ContentManifestTest, takenApart_anythingElse_isForAReaderOfJson)
{
    for (const QByteArray &text :
         { QByteArray(), QByteArray("\"files\":["), QByteArray("{\"files\":["),
           QByteArray("{\"files\":[{\"path\""), QByteArray("{\"files\":[{\"path\":\"a"),
           QByteArray("{\"files\":[{\"other\":\"a\"}]}"),
           QByteArray("{\"files\":[{\"path\":\"\\u0061\"}]}"),
           QByteArray("{\"files\":[{\"path\":\"\xc3\xa4\"}]}"),
           QByteArray("{\"files\":[{\"checked\":false}]}"),
           QByteArray("{\"files\":[],\"files\":[]}"), QByteArray("{\"a\":{\"files\":[]}}"),
           QByteArray("[{\"files\":[]}]") })
        EXPECT_FALSE(ManifestText::takenApart(text)) << text.toStdString();
    EXPECT_TRUE(ManifestText::takenApart("{\"files\":[]}"));
}

TEST(ContentManifestTest, membersOf_whatIsWritten_isUnderstood)
{
    const auto text = ManifestText::takenApart(sampleManifest().toJson());
    const auto members = ManifestText::membersOf(text.value().head);
    ASSERT_TRUE(members);
    EXPECT_EQ(members->size(), sampleObject().size() - 1) << "all but the list";
    for (const ManifestText::Member &member : *members)
        EXPECT_EQ(member.isNumber, member.name == "format");
}

TEST(ContentManifestTest, membersOf_anythingElse_isForAReaderOfJson)
{
    for (const QByteArray &text :
         { QByteArray(), QByteArray("{"), QByteArray("{}}"), QByteArray("{\"a\":}"),
           QByteArray("{\"a\":1.5}"), QByteArray("{\"a\":-1}"), QByteArray("{\"a\":true}"),
           QByteArray("{\"a\":\"\\n\"}"), QByteArray("{\"a\":\"\xc3\xa4\"}"),
           QByteArray("{\"a\":\"1\",\"a\":\"2\"}"), QByteArray("{\"a\":[]}"),
           QByteArray("{\"a\": 1}") })
        EXPECT_FALSE(ManifestText::membersOf(text)) << text.toStdString();
    EXPECT_TRUE(ManifestText::membersOf("{}\n"));
    QByteArray many = "{\"0\":0";
    for (int i = 1; i < 1000; ++i)
        many += ",\"" + QByteArray::number(i) + "\":0";
    EXPECT_FALSE(ManifestText::membersOf(many + '}')) << "more than a head has";
}

TEST(ContentManifestTest, fromJson_keyInLettersOfOtherLanguages_isTheSame)
{
    const ContentManifest manifest = sampleManifest(u"share:/a/\u00e4\u4e2d \"x\"\\.d"_s);
    const auto read = ContentManifest::fromJson(manifest.toJson());
    ASSERT_TRUE(read.hasValue());
    EXPECT_EQ(read.value(), manifest);
}

TEST(ContentManifestTest, fromJson_filesInAnyOrder_areReadAndAreEachOnce)
{
    ContentManifest manifest = sampleManifest();
    const ContentManifest::File file = manifest.files.first();
    const QList<QByteArray> paths { "run.d/b", "run.d/a/c", "run.d/a.txt", "run.d", "run.d/a/b" };
    manifest.files.clear();
    for (const QByteArray &path : paths)
        manifest.files.emplace_back(file).path = path;
    EXPECT_EQ(ContentManifest::fromJson(manifest.toJson()).value(), manifest);
    for (const QByteArray &path : paths) {
        ContentManifest twice = manifest;
        twice.files.emplace_back(file).path = path;
        EXPECT_FALSE(ContentManifest::fromJson(twice.toJson()).hasValue()) << path.toStdString();
    }
}

TEST(ContentManifestTest, fromJson_momentsOfOtherForms_areTheSameMoments)
{
    const QDateTime moment(QDate(2024, 2, 29), QTime(23, 59, 58, 7), Qt::UTC);
    for (const QString &text : { u"2024-02-29T23:59:58.007Z"_s, u"2024-03-01T00:59:58.007+01:00"_s,
                                 u"2024-02-29T23:59:58,007Z"_s }) {
        QJsonObject object = sampleObject();
        object.insert(u"fetched"_s, text);
        const auto read = ContentManifest::fromJson(QJsonDocument(object).toJson());
        ASSERT_TRUE(read.hasValue()) << text.toStdString();
        EXPECT_EQ(read.value().fetched, moment) << text.toStdString();
    }
    for (const QString &text : { u"2023-02-29T23:59:58.007Z"_s, u"2024-02-29T24:59:58.007Z"_s,
                                 u"2024-02-29T23:59:5x.007Z"_s, u"2024-02-29 23:59:58.007"_s })
        EXPECT_EQ(isReadWith(u"fetched"_s, text),
                  QDateTime::fromString(text, Qt::ISODateWithMs).isValid())
            << text.toStdString();
}

TEST(ContentManifestTest, fromJson_noManifest_isCode4)
{
    for (const QByteArray &text :
         { QByteArray(), QByteArray("{"), QByteArray("[]"), QByteArray("{}"),
           QByteArray(100'000, '['), QByteArray("{\"format\":1,\"files\":[]}") }) {
        const auto read = ContentManifest::fromJson(text);
        ASSERT_FALSE(read.hasValue());
        EXPECT_EQ(read.error().errorCode(), ErrorCode::BadData);
    }
}

TEST(ContentManifestTest, fromJson_headThatMakesNoSense_isCode4)
{
    EXPECT_TRUE(isReadWith(u"host"_s, u"other"_s)) << "the sample itself is good";
    EXPECT_FALSE(isReadWith(u"format"_s, 2));
    EXPECT_FALSE(isReadWith(u"id"_s, u""_s));
    EXPECT_FALSE(isReadWith(u"key"_s, 5));
    EXPECT_FALSE(isReadWith(u"name"_s, u"a/b"_s));
    EXPECT_FALSE(isReadWith(u"name"_s, u".."_s));
    EXPECT_FALSE(isReadWith(u"fetched"_s, u"yesterday"_s));
    EXPECT_FALSE(isReadWith(u"blockBytes"_s, u"0"_s));
    EXPECT_FALSE(isReadWith(u"blockBytes"_s, u"-5"_s));
    EXPECT_FALSE(isReadWith(u"blockBytes"_s, u"1"_s)) << "five blocks, but one sum";
}

TEST(ContentManifestTest, fromJson_fileThatMakesNoSense_isCode4)
{
    for (const QString &path :
         { u"/etc/passwd"_s, u"../a"_s, u"run.d/../../a"_s, u"run.d//a"_s, u"."_s, u""_s,
           u"run.d/%00"_s, u"run.d/%2e%2e/a"_s, u"run.d/link"_s })
        EXPECT_FALSE(isReadWithFile(u"path"_s, path)) << path.toStdString();
    EXPECT_FALSE(isReadWithFile(u"size"_s, u"-1"_s));
    EXPECT_FALSE(isReadWithFile(u"size"_s, u"9223372036854775808"_s));
    EXPECT_FALSE(isReadWithFile(u"size"_s, u"9223372036854775807"_s)) << "too few sums";
    EXPECT_FALSE(isReadWithFile(u"size"_s, 5)) << "not a text";
    EXPECT_FALSE(isReadWithFile(u"modified"_s, u""_s));
    EXPECT_FALSE(isReadWithFile(u"xxh3"_s, QJsonArray { u"abc"_s }));
    EXPECT_FALSE(isReadWithFile(u"xxh3"_s, QJsonArray { QString(32, u'G') }));
    EXPECT_FALSE(isReadWithFile(u"xxh3"_s, QJsonArray {}));
    EXPECT_FALSE(isReadWithFile(u"checkedBlocks"_s, u"2"_s));
}

TEST(ContentManifestTest, fromJson_sizesThatAreMoreThanANumberHolds_isCode4)
{
    QJsonObject object = sampleObject();
    QJsonArray files;
    for (const QString &name : { u"a"_s, u"b"_s }) {
        files.append(QJsonObject { { u"path"_s, QString(u"run.d/"_s + name) },
                                   { u"size"_s, u"9223372036854775807"_s },
                                   { u"modified"_s, u"0"_s },
                                   { u"link"_s, u"x"_s } });
        object.insert(u"files"_s, files);
        EXPECT_EQ(isRead(object), files.size() == 1);
    }
}

TEST(ContentManifestTest, bytesPerSecond_ofNumbersThatNoFetchHas_isANumber)
{
    ContentManifest manifest;
    manifest.fetchedBytes = std::numeric_limits<qint64>::max();
    manifest.fetchMilliseconds = 1;
    EXPECT_GT(manifest.bytesPerSecond(), 0);
    EXPECT_TRUE(manifest.toJson().contains("rate"));
}

TEST(ContentManifestTest, bytesPerSecond_isThatOfTheFetch)
{
    ContentManifest manifest = sampleManifest();
    EXPECT_EQ(manifest.bytesPerSecond(), 2000);
    manifest.fetchMilliseconds = 0;
    EXPECT_EQ(manifest.bytesPerSecond(), 0);
}

TEST(ContentManifestTest, hasAllSums_oneUnknown_isFalse)
{
    ContentManifest manifest = sampleManifest();
    EXPECT_TRUE(manifest.hasAllSums());
    manifest.files.first().sums = { {} };
    EXPECT_FALSE(manifest.hasAllSums());
    EXPECT_EQ(ContentManifest::fromJson(manifest.toJson()).value(), manifest);
}

TEST(ContentManifestTest, totalBytes_moreThanANumberHolds_isTheLargest)
{
    ContentManifest manifest = sampleManifest();
    manifest.files.last().size = 7;
    EXPECT_EQ(manifest.totalBytes(), 12);
    for (ContentManifest::File &file : manifest.files)
        file.size = std::numeric_limits<qint64>::max() - 1;
    EXPECT_EQ(manifest.totalBytes(), std::numeric_limits<qint64>::max());
}
