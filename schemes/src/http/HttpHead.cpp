#include "http/HttpHead.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>

namespace zel {

namespace {

/// Longer ones are not worth keeping: what is told by them is told by the size as well.
constexpr qsizetype longestValue = 1024;

/// A value that may be sent back, stored and shown.
bool isPlain(const QByteArray &value)
{
    const auto isControl = [](char byte) {
        return static_cast<unsigned char>(byte) < ' ';
    };
    return value.size() <= longestValue && std::none_of(value.begin(), value.end(), isControl);
}

QByteArray plain(const QByteArray &value)
{
    return isPlain(value) ? value : QByteArray();
}

std::optional<qint64> number(const QByteArray &text)
{
    bool good = false;
    const qint64 value = text.trimmed().toLongLong(&good);
    return good && value >= 0 ? std::optional(value) : std::nullopt;
}

} // namespace

void HttpHead::addLine(const QByteArray &line)
{
    bytes += line.size();
    if (line.startsWith("HTTP/")) {
        const QByteArray rest = line.mid(line.indexOf(' ') + 1).trimmed();
        code = rest.left(3).toInt();
        reason = rest.mid(3).trimmed();
        headers.clear();
        return;
    }
    const qsizetype colon = line.indexOf(':');
    if (colon < 1)
        return;
    const QByteArray name = line.left(colon).trimmed().toLower();
    if (!headers.contains(name))
        headers.insert(name, line.mid(colon + 1).trimmed());
}

QString HttpHead::statusText() const
{
    return QString::number(code) + u' ' + QString::fromUtf8(reason);
}

std::optional<HttpHead::ContentRange> HttpHead::contentRange() const
{
    const QByteArray text = header("content-range");
    const qsizetype slash = text.indexOf('/');
    if (!text.toLower().startsWith("bytes ") || slash < 0)
        return std::nullopt;
    ContentRange range;
    range.total = number(text.mid(slash + 1));
    const QByteArray span = text.mid(6, slash - 6).trimmed();
    range.first = number(span.left(span.indexOf('-'))).value_or(-1);
    return range;
}

HttpRepresentation HttpHead::representation() const
{
    HttpRepresentation found;
    const std::optional<ContentRange> range = contentRange();
    if (code == 200 && !headers.contains("transfer-encoding"))
        found.size = number(header("content-length"));
    else if (range)
        found.size = range->total;
    found.etag = plain(header("etag"));
    found.lastModified = plain(header("last-modified"));
    found.date = plain(header("date"));
    found.contentType = plain(header("content-type"));
    found.refusesRanges = header("accept-ranges").toLower() == "none";
    return found;
}

std::optional<std::chrono::seconds> HttpHead::retryAfter() const
{
    const QByteArray text = header("retry-after");
    if (text.isEmpty())
        return std::nullopt;
    if (const std::optional<qint64> count = number(text))
        return std::chrono::seconds(std::min(*count, qint64 { 1 } << 31));
    const time_t then = curl_getdate(text.constData(), nullptr);
    const time_t now = curl_getdate(header("date").constData(), nullptr);
    if (then < 0)
        return std::nullopt;
    return std::chrono::seconds(std::max<time_t>(0, then - (now < 0 ? ::time(nullptr) : now)));
}

bool HttpHead::isRedirect() const
{
    constexpr std::array codes { 301, 302, 303, 307, 308 };
    return std::find(codes.begin(), codes.end(), code) != codes.end()
        && headers.contains("location");
}

bool HttpHead::isPassingTrouble() const
{
    constexpr std::array codes { 408, 425, 429, 500, 502, 503, 504 };
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

} // namespace zel
