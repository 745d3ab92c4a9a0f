#include "http/HttpRequest_p.h"

#include <QFile>

#include <algorithm>

namespace zel {

namespace {

/// Of a refusal's body; more than what is shown of it, since markup is dropped.
constexpr qsizetype longestSaid = 4096;
/// The largest that the library takes: fewer calls for the same bytes.
constexpr long receiveBuffer = 512 * 1024;

} // namespace

HttpRequest::HttpRequest(const HttpQuery &query, const HttpSettings &settings,
                         HttpReceiver *receiver, bool withCredentials)
    : settings(settings)
    , method(query.method)
    , receiver(receiver)
    , curl(curl_easy_init())
{
    setUp(query, withCredentials);
    window.start();
}

template<typename Value>
void HttpRequest::set(CURLoption option, Value value)
{
    curl_easy_setopt(curl.get(), option, value);
}

void HttpRequest::setUp(const HttpQuery &query, bool withCredentials)
{
    set(CURLOPT_URL, query.url.text().constData());
    set(CURLOPT_NOSIGNAL, 1L);
    // A name that is just being looked up must not hold up who cancels.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    setUpMethod(query);
    // One stream over one connection is what large files want.
    set(CURLOPT_HTTP_VERSION, long { CURL_HTTP_VERSION_1_1 });
    set(CURLOPT_CONNECTTIMEOUT_MS, long { settings.connectTime.count() });
    // A proxy is that of the environment; what it answers for itself is no head of the server's.
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_TCP_KEEPALIVE, 1L);
    set(CURLOPT_ERRORBUFFER, errorText.data());
    setUpTrust();
    if (withCredentials)
        setUpCredentials();
    setUpHeaders(query);
    setUpReceiving();
}

void HttpRequest::setUpMethod(const HttpQuery &query)
{
    set(CURLOPT_NOBODY, method == HttpQuery::Method::Head ? 1L : 0L);
    if (method != HttpQuery::Method::Propfind)
        return;
    set(CURLOPT_POSTFIELDSIZE, static_cast<long>(query.body.size()));
    set(CURLOPT_COPYPOSTFIELDS, query.body.constData());
    set(CURLOPT_CUSTOMREQUEST, "PROPFIND");
}

void HttpRequest::setUpTrust()
{
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_SSLVERSION, long { CURL_SSLVERSION_TLSv1_2 });
    if (!settings.caFile.isEmpty())
        set(CURLOPT_CAINFO, QFile::encodeName(settings.caFile).constData());
}

void HttpRequest::setUpCredentials()
{
    set(CURLOPT_NETRC, long { CURL_NETRC_OPTIONAL });
    set(CURLOPT_NETRC_FILE, QFile::encodeName(settings.netrcFile).constData());
    set(CURLOPT_HTTPAUTH, long { CURLAUTH_BASIC });
}

void HttpRequest::setUpHeaders(const HttpQuery &query)
{
    // The bytes that lie on the server, not a form made for the way.
    QList<QByteArray> lines { "Accept-Encoding: identity", "User-Agent: zel_resource_manager" };
    if (!query.range.isEmpty())
        lines << "Range: " + query.range;
    if (!query.ifRange.isEmpty())
        lines << "If-Range: " + query.ifRange;
    lines << query.headers;
    for (const QByteArray &line : lines)
        headers.reset(curl_slist_append(headers.release(), line.constData()));
    set(CURLOPT_HTTPHEADER, headers.get());
}

void HttpRequest::setUpReceiving()
{
    set(CURLOPT_BUFFERSIZE, receiveBuffer);
    set(CURLOPT_HEADERFUNCTION, &HttpRequest::onHeader);
    set(CURLOPT_HEADERDATA, static_cast<void *>(this));
    set(CURLOPT_WRITEFUNCTION, &HttpRequest::onBody);
    set(CURLOPT_WRITEDATA, static_cast<void *>(this));
}

size_t HttpRequest::onHeader(char *data, size_t one, size_t size, void *self)
{
    const size_t count = one * size;
    const QByteArray line(data, static_cast<qsizetype>(count));
    return static_cast<HttpRequest *>(self)->takeHeader(line) ? count : 0;
}

size_t HttpRequest::onBody(char *data, size_t one, size_t size, void *self)
{
    const size_t count = one * size;
    const bool goesOn
        = static_cast<HttpRequest *>(self)->takeBody(data, static_cast<qint64>(count));
    // Any other number than that of the bytes ends the transfer; 0 may be that number.
    return goesOn ? count : count + 1;
}

bool HttpRequest::takeHeader(const QByteArray &line)
{
    answer.addLine(line);
    windowBytes += line.size();
    headTooLong = answer.byteCount() > settings.headBytes;
    return !headTooLong;
}

bool HttpRequest::isGood() const
{
    const int status = answer.status();
    // To a question about properties a plain 200 is the answer of one who has not understood it.
    if (method == HttpQuery::Method::Propfind)
        return status == 207;
    return status == 200 || status == 206;
}

bool HttpRequest::takeBody(const char *data, qint64 size)
{
    windowBytes += size;
    if (receiver == nullptr || !isGood()) {
        said.append(data, std::min<qint64>(size, longestSaid - said.size()));
        stopped = said.size() >= longestSaid;
        return !stopped;
    }
    stopped = !begun && !receiver->begin(answer);
    begun = true;
    stopped = stopped || !receiver->receive(data, size);
    return !stopped;
}

void HttpRequest::setResult(CURLcode code)
{
    result = code;
    // A body of no bytes is a body.
    const bool empty = code == CURLE_OK && !begun && receiver != nullptr && isGood();
    if (empty)
        stopped = !receiver->begin(answer);
}

bool HttpRequest::isStalled()
{
    if (windowBytes >= settings.stallBytes) {
        windowBytes = 0;
        window.start();
        return false;
    }
    return window.hasExpired(settings.stallTime.count());
}

HttpOutcome HttpRequest::outcome(bool hadContact) const
{
    HttpOutcome outcome;
    outcome.end = end(hadContact);
    outcome.head = answer;
    outcome.said = said;
    outcome.reason = reason(outcome.end);
    return outcome;
}

HttpOutcome::End HttpRequest::end(bool hadContact) const
{
    using End = HttpOutcome::End;
    if (headTooLong)
        return End::Hopeless;
    if (stopped)
        return receiver != nullptr && isGood() ? End::Stopped : End::Answered;
    switch (result) {
    case CURLE_OK:
        return End::Answered;
    case CURLE_PARTIAL_FILE:
        return End::CutShort;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return hadContact ? End::Broken : End::Hopeless;
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_SSL_CONNECT_ERROR:
        return isRefusedByProxy() ? End::Hopeless : End::Broken;
    default:
        return End::Hopeless;
    }
}

/// It has understood, and will not lead to the server however often it is asked.
bool HttpRequest::isRefusedByProxy() const
{
    long status = 0;
    return curl_easy_getinfo(curl.get(), CURLINFO_HTTP_CONNECTCODE, &status) == CURLE_OK
        && status >= 400 && status < 500;
}

QString HttpRequest::reason(HttpOutcome::End end) const
{
    if (headTooLong)
        return tr("the head of the server's answer is too long");
    if (end == HttpOutcome::End::Answered || end == HttpOutcome::End::Stopped)
        return {};
    if (end == HttpOutcome::End::CutShort)
        return tr("the server closed the connection before all bytes had come");
    const QString detail = QString::fromLocal8Bit(errorText.data());
    // The whole address of a proxy that cannot be read is repeated, and a password may stand in it.
    if (detail.contains(u'@'))
        return tr("the proxy that the environment names cannot be used");
    return detail.isEmpty() ? QString::fromUtf8(curl_easy_strerror(result)) : detail;
}

} // namespace zel
