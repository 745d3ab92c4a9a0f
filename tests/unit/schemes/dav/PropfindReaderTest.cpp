#include "dav/PropfindReader.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;

QByteArray multistatus(const QByteArray &responses)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">"
        + responses + "</D:multistatus>\n";
}

QByteArray response(const QByteArray &href, const QByteArray &properties)
{
    return "<D:response><D:href>" + href + "</D:href><D:propstat><D:prop>" + properties
        + "</D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response>";
}

Error read(PropfindReader &reader, const QByteArray &bytes)
{
    reader.add(bytes.constData(), bytes.size());
    return reader.finish();
}

std::vector<DavProperties> resourcesIn(const QByteArray &bytes)
{
    PropfindReader reader;
    const Error error = read(reader, bytes);
    EXPECT_FALSE(error.hasError()) << error.description().toStdString();
    return reader.resources();
}

DavProperties onlyOneIn(const QByteArray &bytes)
{
    const auto all = resourcesIn(bytes);
    EXPECT_EQ(all.size(), 1U);
    return all.empty() ? DavProperties() : all.front();
}

/// What the refusal says behind the words that all have in common.
QString refusalOf(const QByteArray &bytes)
{
    PropfindReader reader;
    const Error error = read(reader, bytes);
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
    const QString common = u"the server's list cannot be read: "_s;
    EXPECT_TRUE(error.errorMessage().startsWith(common)) << qPrintable(error.errorMessage());
    return error.errorMessage().mid(common.size());
}

} // namespace

TEST(PropfindReaderTest, add_file_tellsSizeAndState)
{
    const DavProperties file = onlyOneIn(multistatus(
        response("/a/run%201.raw",
                 "<D:resourcetype/><D:getcontentlength>12</D:getcontentlength>"
                 "<D:getetag>\"x-1\"</D:getetag>"
                 "<D:getlastmodified>Sat, 21 Nov 2026 08:04:22 GMT</D:getlastmodified>")));
    EXPECT_EQ(file.href, u"/a/run%201.raw"_s);
    EXPECT_FALSE(file.isCollection);
    EXPECT_EQ(file.size, 12);
    EXPECT_EQ(file.etag, "\"x-1\"");
    EXPECT_EQ(file.lastModified, "Sat, 21 Nov 2026 08:04:22 GMT");
    EXPECT_FALSE(file.isRefused());
}

TEST(PropfindReaderTest, add_collection_isOne)
{
    EXPECT_TRUE(
        onlyOneIn(multistatus(response("/a/", "<D:resourcetype><D:collection/></D:resourcetype>")))
            .isCollection);
}

TEST(PropfindReaderTest, add_anyPrefixes_namespacesCount)
{
    const DavProperties folder = onlyOneIn(
        "<multistatus xmlns=\"DAV:\" xmlns:o=\"urn:other\"><x:response xmlns:x=\"DAV:\">"
        "<href>/a</href><o:href>/wrong</o:href><propstat><status>HTTP/1.1 200 OK</status><prop>"
        "<o:resourcetype/><o:getcontentlength>99</o:getcontentlength>"
        "<y:resourcetype xmlns:y=\"DAV:\"><y:collection/></y:resourcetype>"
        "</prop></propstat></x:response></multistatus>");
    EXPECT_EQ(folder.href, u"/a"_s);
    EXPECT_TRUE(folder.isCollection);
    EXPECT_FALSE(folder.size);
}

TEST(PropfindReaderTest, add_namesWithoutTheNamespace_areUnknown)
{
    EXPECT_EQ(refusalOf("<multistatus><response><href>/a</href></response></multistatus>"),
              u"it is no multistatus"_s);
}

TEST(PropfindReaderTest, add_severalPropstats_onlyThoseThatSucceededCount)
{
    const DavProperties file = onlyOneIn(multistatus(
        "<D:response><D:href>/a</D:href>"
        "<D:propstat><D:prop><D:getcontentlength>1</D:getcontentlength>"
        "<D:resourcetype><D:collection/></D:resourcetype></D:prop>"
        "<D:status>HTTP/1.1 404 Not Found</D:status></D:propstat>"
        "<D:propstat><D:prop><D:getcontentlength>5</D:getcontentlength></D:prop>"
        "<D:status>HTTP/1.1 200 OK</D:status></D:propstat>"
        "<D:propstat><D:prop><D:getetag>\"e\"</D:getetag></D:prop>"
        "<D:status>HTTP/1.1 200</D:status></D:propstat>"
        "<D:propstat><D:prop><D:getlastmodified>never</D:getlastmodified></D:prop></D:propstat>"
        "</D:response>"));
    EXPECT_EQ(file.size, 5);
    EXPECT_FALSE(file.isCollection);
    EXPECT_EQ(file.etag, "\"e\"");
    EXPECT_EQ(file.lastModified, "");
}

TEST(PropfindReaderTest, add_statusOfTheWhole_isARefusal)
{
    const auto all = resourcesIn(multistatus(
        "<D:response><D:href>/a</D:href><D:href>/b</D:href>"
        "<D:status>HTTP/1.1 403 Forbidden</D:status></D:response>"
        "<D:response><D:href>/c</D:href><D:status>HTTP/1.1 200 OK</D:status></D:response>"));
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].refusal, u"HTTP/1.1 403 Forbidden"_s);
    EXPECT_EQ(all[1].href, u"/b"_s);
    EXPECT_TRUE(all[1].isRefused());
    EXPECT_FALSE(all[2].isRefused());
}

TEST(PropfindReaderTest, add_oddValues_areLeftOut)
{
    for (const char *const size : { "-1", "abc", "1e3", "99999999999999999999", "" }) {
        EXPECT_FALSE(onlyOneIn(multistatus(response("/a",
                                                    "<D:getcontentlength>" + QByteArray(size)
                                                        + "</D:getcontentlength>")))
                         .size)
            << size;
    }
    const DavProperties file
        = onlyOneIn(multistatus(response("/a",
                                         "<D:getetag>\"a&#10;Evil: 1\"</D:getetag>"
                                         "<D:getlastmodified>"
                                             + QByteArray(2000, 'x') + "</D:getlastmodified>")));
    EXPECT_EQ(file.etag, "");
    EXPECT_EQ(file.lastModified, "");
}

TEST(PropfindReaderTest, add_unknownElementsCommentsAndSections_areReadOver)
{
    const DavProperties file = onlyOneIn(multistatus(
        "<!-- words --><D:other><D:response><D:href>/no</D:href></D:response></D:other>"
        "<?words?><D:response><D:href><![CDATA[/a&b]]></D:href><D:error><D:href>/x</D:href>"
        "</D:error></D:response>"));
    EXPECT_EQ(file.href, u"/a&b"_s);
}

TEST(PropfindReaderTest, add_byteByByte_isTheSame)
{
    const QByteArray bytes = multistatus(
        response("/%C3%BC/\xC3\xBC&amp;", "<D:getcontentlength>12</D:getcontentlength>"));
    PropfindReader reader;
    for (const char byte : bytes)
        ASSERT_TRUE(reader.add(&byte, 1));
    ASSERT_FALSE(reader.finish().hasError());
    ASSERT_EQ(reader.resources().size(), 1U);
    EXPECT_EQ(reader.resources().front().href, u"/%C3%BC/ü&"_s);
    EXPECT_EQ(reader.resources().front().size, 12);
}

TEST(PropfindReaderTest, add_emptyMultistatus_isAnEmptyList)
{
    EXPECT_TRUE(resourcesIn(multistatus({})).empty());
}

TEST(PropfindReaderTest, finish_cutAnywhere_isNotWhole)
{
    const QByteArray whole = multistatus(response("/a", "<D:getetag>\"e\"</D:getetag>")).trimmed();
    for (qsizetype size = 0; size < whole.size(); ++size) {
        PropfindReader reader;
        ASSERT_EQ(read(reader, whole.left(size)).errorCode(), ErrorCode::BadData) << size;
    }
}

TEST(PropfindReaderTest, add_documentType_isRefused)
{
    const QString reason = u"it has a document type, which is not read"_s;
    EXPECT_EQ(refusalOf("<?xml version=\"1.0\"?><!DOCTYPE a [<!ENTITY b \"c\">]>"
                        "<D:multistatus xmlns:D=\"DAV:\">&b;</D:multistatus>"),
              reason);
    EXPECT_EQ(refusalOf("<!DOCTYPE a SYSTEM \"file:///etc/passwd\">" + multistatus({})), reason);
    QByteArray laughs = "<!DOCTYPE l [<!ENTITY l0 \"ha\">";
    for (int i = 1; i < 30; ++i) {
        const QByteArray before = "&l" + QByteArray::number(i - 1) + ';';
        laughs += "<!ENTITY l" + QByteArray::number(i) + " \"" + before + before + "\">";
    }
    EXPECT_EQ(refusalOf(laughs + "]>" + multistatus(response("&l29;", {}))), reason);
}

TEST(PropfindReaderTest, add_entityWithoutAMeaning_isRefused)
{
    refusalOf(multistatus(response("/&nothing;", {})));
}

TEST(PropfindReaderTest, add_nestedTooDeeply_isRefused)
{
    QByteArray deep;
    for (int i = 0; i < 1'000'000; ++i)
        deep += "<a>";
    EXPECT_EQ(refusalOf("<D:multistatus xmlns:D=\"DAV:\">" + deep), u"it is nested too deeply"_s);
}

TEST(PropfindReaderTest, add_endlessMark_isRefusedAtOnce)
{
    QByteArray endless = "<D:multistatus xmlns:D=\"DAV:\" ";
    for (int i = 0; i < 1'000'000; ++i)
        endless += 'a' + QByteArray::number(i) + "=\">\" ";
    QElapsedTimer passed;
    passed.start();
    EXPECT_EQ(refusalOf(endless), u"a single part of it is too long"_s);
    EXPECT_LT(passed.elapsed(), 10'000); // at one go it takes hours
}

TEST(PropfindReaderTest, add_manyAttributes_areRefused)
{
    QByteArray many = "<D:multistatus xmlns:D=\"DAV:\" ";
    for (int i = 0; i < 100; ++i)
        many += 'a' + QByteArray::number(i) + "=\"\" ";
    EXPECT_EQ(refusalOf(many + "/>"), u"a part of it has too many attributes"_s);
}

TEST(PropfindReaderTest, add_manyDeclarations_areRefused)
{
    QByteArray many = "<D:multistatus xmlns:D=\"DAV:\" ";
    for (int i = 0; i < 100; ++i)
        many += "xmlns:a" + QByteArray::number(i) + "=\"u\" ";
    EXPECT_EQ(refusalOf(many + "/>"), u"a part of it has too many attributes"_s);
}

TEST(PropfindReaderTest, add_endlessText_isRefused)
{
    EXPECT_EQ(refusalOf(multistatus(response(QByteArray(9000, 'x'), {}))),
              u"a single part of it is too long"_s);
    EXPECT_EQ(refusalOf(multistatus("<!--" + QByteArray(100'000, 'x') + "-->")),
              u"a single part of it is too long"_s);
}

TEST(PropfindReaderTest, add_noAddress_isRefused)
{
    const QString reason = u"it tells of something without an address"_s;
    EXPECT_EQ(refusalOf(multistatus("<D:response/>")), reason);
    EXPECT_EQ(refusalOf(multistatus(response(" ", {}))), reason);
}

TEST(PropfindReaderTest, add_tooManyResources_isRefused)
{
    const QByteArray one = "<D:response><D:href>/a</D:href></D:response>";
    EXPECT_EQ(refusalOf(multistatus(one.repeated(PropfindReader::mostResources + 1))),
              u"it tells of more than %1 resources"_s.arg(PropfindReader::mostResources));

    // One answer may be about many, so many that nobody waits for its end.
    const QByteArray addresses
        = QByteArray("<D:href>/a</D:href>").repeated(PropfindReader::mostResources + 1);
    EXPECT_EQ(refusalOf("<D:multistatus xmlns:D=\"DAV:\"><D:response>" + addresses),
              u"it tells of more than %1 resources"_s.arg(PropfindReader::mostResources));
}

TEST(PropfindReaderTest, add_anythingElse_isRefused)
{
    for (const QByteArray &bytes :
         { QByteArray(), QByteArray("\0\0\0", 3), QByteArray("<html><body></html>"),
           QByteArray("{\"json\": true}"),
           QByteArray("<D:multistatus xmlns:D=\"DAV:\"><D:response>"
                      "</D:multistatus></D:response>"),
           multistatus("<undeclared:x/>"), multistatus("\x01"), multistatus("\xFF\xFE") }) {
        refusalOf(bytes);
    }
}

TEST(PropfindReaderTest, add_damagedAnswers_endWithoutHarm)
{
    const QByteArray whole = multistatus(
        response("/a/", "<D:resourcetype><D:collection/></D:resourcetype>")
        + response("/a/b%20c",
                   "<D:getcontentlength>12</D:getcontentlength><D:getetag>\"e\"</D:getetag>"));
    constexpr char oddBytes[] = "<>&;/\"'=:!?-[]\0\xFF\xC3 aD";
    quint32 state = 1;
    const auto random = [&state](qsizetype below) {
        state = state * 1664525U + 1013904223U;
        return qsizetype(state >> 8U) % below;
    };
    for (int i = 0; i < 5000; ++i) {
        QByteArray bytes = whole;
        for (qsizetype changes = 1 + random(4); changes > 0; --changes)
            bytes[random(bytes.size())] = oddBytes[random(std::ssize(oddBytes) - 1)];
        PropfindReader reader;
        const bool isRead = !read(reader, bytes).hasError();
        for (const DavProperties &properties : reader.resources())
            ASSERT_FALSE(isRead && properties.href.isEmpty());
    }
}

} // namespace zel
