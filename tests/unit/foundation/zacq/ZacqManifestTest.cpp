#include "zacq/ZacqManifest.h"

using namespace zel;
using namespace zel::zacq;
using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray sampleJson = R"("sample": {"path": "d/s.raw", "name": "S", "size": 3,
    "hash": "md5:900150983cd24fb0d6963f7d28e17f72"})";

QByteArray manifestWith(const QByteArray &more)
{
    return R"({"format": "zacq", "version": 1, )" + sampleJson + more + "}";
}

ErrorCode codeOf(const QByteArray &json)
{
    const auto manifest = ZacqManifest::fromJson(json);
    return manifest.hasValue() ? ErrorCode::Success : manifest.error().errorCode();
}

} // namespace

TEST(ZacqManifestTest, fromJson_ownText_comesBackEqual)
{
    ZacqManifest manifest;
    manifest.metadata.contentHash
        = { QCryptographicHash::Sha256, QCryptographicHash::hash("x", QCryptographicHash::Sha256) };
    manifest.metadata.sampleName = u"Übung \"1\"\n"_s;
    manifest.samplePath = u"a/b/c.raw"_s;
    manifest.sampleSize = 80'000'000'001;
    manifest.pointer = ZacqManifest::Pointer { 3, u"a1b2c3.zacq"_s, u"id"_s };
    manifest.owner = ZacqManifest::Owner { u"file/x/y.zacq"_s, u"other"_s };
    const auto back = ZacqManifest::fromJson(manifest.toJson());
    ASSERT_TRUE(back.hasValue());
    EXPECT_TRUE(back.value().metadata.contentHash == manifest.metadata.contentHash);
    EXPECT_EQ(back.value().metadata.sampleName, manifest.metadata.sampleName);
    EXPECT_EQ(back.value().samplePath, manifest.samplePath);
    EXPECT_EQ(back.value().sampleSize, manifest.sampleSize);
    EXPECT_EQ(back.value().pointer->levelsUp, 3);
    EXPECT_EQ(back.value().pointer->targetName, u"a1b2c3.zacq"_s);
    EXPECT_EQ(back.value().pointer->id, u"id"_s);
    EXPECT_EQ(back.value().owner->path, u"file/x/y.zacq"_s);
    EXPECT_EQ(back.value().owner->id, u"other"_s);
    EXPECT_EQ(back.value().targetSamplePath(), u"s/c.raw"_s);
}

TEST(ZacqManifestTest, fromJson_noManifest_isBadData)
{
    EXPECT_EQ(codeOf(manifestWith("")), ErrorCode::Success);
    EXPECT_EQ(codeOf(""), ErrorCode::BadData);
    EXPECT_EQ(codeOf("[]"), ErrorCode::BadData);
    EXPECT_EQ(codeOf("{}"), ErrorCode::BadData);
    EXPECT_EQ(codeOf(R"({"format": "other", "version": 1})"), ErrorCode::BadData);
    EXPECT_EQ(codeOf(R"({"format": "zacq", "version": 1})"), ErrorCode::BadData);
    EXPECT_EQ(codeOf(R"({"format": "zacq", "version": 0})"), ErrorCode::BadData);
    EXPECT_EQ(codeOf(R"({"format": "zacq", "version": "1"})"), ErrorCode::BadData);
    EXPECT_EQ(codeOf(R"({"format": "zacq", "version": 2})"), ErrorCode::UnsupportedContainer);
    EXPECT_EQ(codeOf(manifestWith("").left(60)), ErrorCode::BadData);
    EXPECT_EQ(codeOf(QByteArray(2000, '[')), ErrorCode::BadData);
}

TEST(ZacqManifestTest, fromJson_unusableSamplePaths_areBadData)
{
    for (const char *path :
         { "/etc/passwd", "../x", "a/../x", "a/..", ".", "./a", "a//b", "a/", "a\\\\..\\\\b",
           "a\\u0000b", "zacq.json", "sparse.part/s/x", "removed.part/x" }) {
        QByteArray json = manifestWith("");
        json.replace("d/s.raw", path);
        EXPECT_EQ(codeOf(json), ErrorCode::BadData) << path;
    }
}

TEST(ZacqManifestTest, fromJson_samplePathThatIsNoText_isBadData)
{
    QByteArray json = manifestWith("");
    EXPECT_EQ(codeOf(json.replace(R"("path": "d/s.raw", )", "")), ErrorCode::Success);
    for (const char *path : { "7", "null", "true", "{}", R"(["d/s.raw"])", R"("")" }) {
        json = manifestWith("");
        EXPECT_EQ(codeOf(json.replace(R"("d/s.raw")", path)), ErrorCode::BadData) << path;
    }
}

TEST(ZacqManifestTest, fromJson_sampleNameMissingOrNoText_isBadData)
{
    QByteArray json = manifestWith("");
    EXPECT_EQ(codeOf(json.replace(R"("name": "S", )", "")), ErrorCode::BadData);
    for (const char *name : { "7", "null", "{}", R"(["S"])" }) {
        json = manifestWith("");
        EXPECT_EQ(codeOf(json.replace(R"("S")", name)), ErrorCode::BadData) << name;
    }
    json = manifestWith("");
    EXPECT_EQ(codeOf(json.replace(R"("S")", R"("")")), ErrorCode::Success);
}

TEST(ZacqManifestTest, fromJson_unusablePointers_areBadData)
{
    const auto pointer = [](const QByteArray &target) {
        return codeOf(manifestWith(R"(, "sparse": {"target": ")" + target + R"(", "id": "1"})"));
    };
    EXPECT_EQ(pointer("../../zacq/a.zacq"), ErrorCode::Success);
    for (const char *target :
         { "", "/zacq/a.zacq", "zacq/a.zacq", "../other/a.zacq", "../zacq/a", "../zacq/..",
           "../zacq/../a.zacq", "../zacq/a/b.zacq", "../../zacq//a.zacq", "../zacq/",
           "../x/../zacq/a.zacq", "..\\\\zacq/a.zacq", "../zacq/a\\\\b.zacq",
           "../zacq/a\\u0000.zacq" })
        EXPECT_EQ(pointer(target), ErrorCode::BadData) << target;
    EXPECT_EQ(pointer(QByteArray("../").repeated(100) + "zacq/a.zacq"), ErrorCode::BadData);
    EXPECT_EQ(codeOf(manifestWith(R"(, "sparse": {"target": "../zacq/a.zacq"})")),
              ErrorCode::BadData);
    EXPECT_EQ(codeOf(manifestWith(R"(, "sparse": 7)")), ErrorCode::BadData);
}

TEST(ZacqManifestTest, fromJson_unusableOwners_areBadData)
{
    EXPECT_EQ(codeOf(manifestWith(R"(, "owner": {"path": "f/x.zacq", "id": "1"})")),
              ErrorCode::Success);
    for (const char *path : { "", "/x", "../x", "a/../../x" }) {
        const QByteArray owner = QByteArray(R"(, "owner": {"path": ")") + path + R"(", "id": "1"})";
        EXPECT_EQ(codeOf(manifestWith(owner)), ErrorCode::BadData) << path;
    }
    EXPECT_EQ(codeOf(manifestWith(R"(, "owner": {"path": "x"})")), ErrorCode::BadData);
}

TEST(ZacqManifestTest, fromJson_unusableHashOrSize_isBadData)
{
    QByteArray json = manifestWith("");
    EXPECT_EQ(codeOf(json.replace("900150983", "90015098")), ErrorCode::BadData);
    json = manifestWith("");
    EXPECT_EQ(codeOf(json.replace(R"("size": 3)", R"("size": -3)")), ErrorCode::BadData);
    json = manifestWith("");
    EXPECT_EQ(codeOf(json.replace(R"("size": 3)", R"("size": "3")")), ErrorCode::BadData);
}
