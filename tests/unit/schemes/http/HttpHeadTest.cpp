#include "http/HttpHead.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;

HttpHead headOf(const QByteArray &text)
{
    HttpHead head;
    for (const QByteArray &line : text.split('\n'))
        head.addLine(line + "\r\n");
    return head;
}

TEST(HttpHeadTest, addLine_secondStatusLine_beginsAnewHead)
{
    const HttpHead head = headOf("HTTP/1.1 100 Continue\nETag: \"a\"\nHTTP/1.1 200 OK\nX: y");
    EXPECT_EQ(head.status(), 200);
    EXPECT_EQ(head.header("etag"), QByteArray());
    EXPECT_EQ(head.header("x"), QByteArray("y"));
}

TEST(HttpHeadTest, statusText_isTheServersWords)
{
    EXPECT_EQ(headOf("HTTP/1.1 404 No such sample").statusText(), u"404 No such sample"_s);
    EXPECT_EQ(headOf("HTTP/2 404").statusText(), u"404 "_s);
}

TEST(HttpHeadTest, contentRange_ofPart_givesFirstAndTotal)
{
    const auto range = headOf("HTTP/1.1 206 P\nContent-Range: bytes 5-9/10").contentRange();
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->first, 5);
    EXPECT_EQ(range->total, 10);
}

TEST(HttpHeadTest, contentRange_ofRefusal_givesTotalOnly)
{
    const auto range = headOf("HTTP/1.1 416 R\nContent-Range: bytes */10").contentRange();
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->first, -1);
    EXPECT_EQ(range->total, 10);
}

TEST(HttpHeadTest, contentRange_unreadable_isNone)
{
    EXPECT_FALSE(headOf("HTTP/1.1 206 P\nContent-Range: lines 1-2").contentRange().has_value());
    EXPECT_FALSE(headOf("HTTP/1.1 206 P").contentRange().has_value());
}

TEST(HttpHeadTest, representation_ofWhole_hasLengthAsSize)
{
    const auto state = headOf("HTTP/1.1 200 OK\nContent-Length: 7\nETag: \"e\"\n"
                              "Last-Modified: Sat, 01 Feb 2020 00:00:00 GMT\nContent-Type: a/b")
                           .representation();
    EXPECT_EQ(state.size, 7);
    EXPECT_EQ(state.etag, QByteArray("\"e\""));
    EXPECT_EQ(state.contentType, QByteArray("a/b"));
    EXPECT_EQ(state.modified().toSecsSinceEpoch(), 1580515200);
}

TEST(HttpHeadTest, representation_ofPart_hasTotalAsSize)
{
    const auto state
        = headOf("HTTP/1.1 206 P\nContent-Length: 2\nContent-Range: bytes 0-1/9").representation();
    EXPECT_EQ(state.size, 9);
}

TEST(HttpHeadTest, representation_lengthThatIsNoNumber_hasNoSize)
{
    const auto none = headOf("HTTP/1.1 200 OK\nContent-Length: -5").representation();
    EXPECT_FALSE(none.size.has_value());
    const auto huge
        = headOf("HTTP/1.1 200 OK\nContent-Length: 99999999999999999999").representation();
    EXPECT_FALSE(huge.size.has_value());
}

TEST(HttpHeadTest, representation_valuesThatAreNotPlain_countAsNone)
{
    const auto state
        = headOf("HTTP/1.1 200 OK\nETag: \"a\rX: y\"\nContent-Type: " + QByteArray(2000, 'x'))
              .representation();
    EXPECT_EQ(state.etag, QByteArray());
    EXPECT_EQ(state.contentType, QByteArray());
}

TEST(HttpHeadTest, retryAfter_seconds)
{
    EXPECT_EQ(headOf("HTTP/1.1 503 B\nRetry-After: 17").retryAfter(), std::chrono::seconds(17));
    EXPECT_FALSE(headOf("HTTP/1.1 503 B").retryAfter().has_value());
    EXPECT_FALSE(headOf("HTTP/1.1 503 B\nRetry-After: soon").retryAfter().has_value());
}

TEST(HttpHeadTest, retryAfter_date_isToldByTheServersClock)
{
    const HttpHead head = headOf("HTTP/1.1 503 B\nDate: Sat, 01 Feb 2020 00:00:00 GMT\n"
                                 "Retry-After: Sat, 01 Feb 2020 00:00:42 GMT");
    EXPECT_EQ(head.retryAfter(), std::chrono::seconds(42));
}

HttpRepresentation state(const QByteArray &etag, const QByteArray &modified, const QByteArray &date)
{
    HttpRepresentation state;
    state.size = 1;
    state.etag = etag;
    state.lastModified = modified;
    state.date = date;
    return state;
}

const QByteArray early = "Sat, 01 Feb 2020 00:00:00 GMT";
const QByteArray late = "Sat, 01 Feb 2020 00:00:05 GMT";

TEST(HttpRepresentationTest, rangeValidator_prefersStrongEtag)
{
    EXPECT_EQ(state("\"a\"", early, late).rangeValidator(), QByteArray("\"a\""));
    EXPECT_EQ(state("W/\"a\"", early, late).rangeValidator(), early);
    EXPECT_EQ(state("W/\"a\"", {}, late).rangeValidator(), QByteArray());
}

TEST(HttpRepresentationTest, rangeValidator_modifiedThisSecond_isNone)
{
    EXPECT_EQ(state({}, early, early).rangeValidator(), QByteArray());
    EXPECT_EQ(state({}, early, {}).rangeValidator(), QByteArray());
}

TEST(HttpRepresentationTest, isSameAs_needsProof)
{
    EXPECT_TRUE(state("\"a\"", early, late).isSameAs(state("\"a\"", early, early)));
    EXPECT_FALSE(state("\"a\"", early, late).isSameAs(state("\"b\"", early, late)));
    EXPECT_FALSE(state({}, {}, late).isSameAs(state({}, {}, late)));
    HttpRepresentation longer = state("\"a\"", early, late);
    longer.size = 2;
    EXPECT_FALSE(longer.isSameAs(state("\"a\"", early, late)));
}

TEST(HttpRepresentationTest, mayBelongTo_whatIsToldMustBeThatOfTheWhole)
{
    const HttpRepresentation strong = state("\"a\"", early, late);
    EXPECT_TRUE(state("\"a\"", late, late).mayBelongTo(strong));
    EXPECT_FALSE(state("\"b\"", early, late).mayBelongTo(strong));
    EXPECT_TRUE(state({}, early, late).mayBelongTo(strong));
    EXPECT_FALSE(state({}, late, late).mayBelongTo(strong));
    EXPECT_TRUE(state({}, {}, late).mayBelongTo(strong));
    EXPECT_FALSE(state({}, early, late).mayBelongTo(state("\"a\"", {}, late)));

    const HttpRepresentation weak = state("W/\"a\"", early, late);
    EXPECT_TRUE(state("W/\"a\"", early, late).mayBelongTo(weak));
    EXPECT_FALSE(state("W/\"a\"", late, late).mayBelongTo(weak));
    EXPECT_TRUE(state("W/\"a\"", {}, late).mayBelongTo(weak));
}

} // namespace
} // namespace zel
