#include "http/HttpUrl.h"

#include "errors/Propagate.h"
#include "references/PercentEncoding.h"
#include "references/PublicQuery.h"

#include <curl/curl.h>

#include <memory>

namespace zel {

namespace {

/// What is shorter and has no name of a secret is none, and would tear holes into what a server
/// says:
/// "?download=1" into "401".
constexpr qsizetype shortestSecret = 4;

struct UrlDeleter
{
    void operator()(CURLU *url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlDeleter>;

QByteArray part(CURLU *url, CURLUPart which, unsigned flags = 0)
{
    char *text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK)
        return {};
    const QByteArray copy(text);
    curl_free(text);
    return copy;
}

bool isServed(const QByteArray &scheme)
{
    return scheme == "http" || scheme == "https";
}

/// Both may hold secrets, which come from nowhere but the netrc file; the fragment is ours.
void dropWhatIsNotSent(CURLU *url)
{
    for (const CURLUPart which :
         { CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS, CURLUPART_FRAGMENT }) {
        curl_url_set(url, which, nullptr, 0);
    }
}

} // namespace

Result<HttpUrl> HttpUrl::parse(const QByteArray &text)
{
    const Result<HttpUrl> url = parsed({}, text);
    if (!url.hasValue() || !isServed(url.value().scheme))
        return ZEL_ERROR(ErrorCode::BadArgument, tr("Not an address of a web server."));
    return url;
}

Result<HttpUrl> HttpUrl::redirected(const QByteArray &location) const
{
    ZEL_TRY_LET(const HttpUrl target, parsed(whole, location));
    if (!isServed(target.scheme)) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("the server redirects to a \"%1:\" address, which is not followed")
                             .arg(QString::fromUtf8(target.scheme.left(16))));
    }
    return target;
}

Result<HttpUrl> HttpUrl::atPath(const QByteArray &encodedPath) const
{
    const qsizetype pathStart = whole.indexOf('/', scheme.size() + 3);
    return ZEL_PASS(parse(whole.left(pathStart) + encodedPath));
}

Result<HttpUrl> HttpUrl::below(const QString &relativePath) const
{
    const QByteArray withoutQuery
        = whole.left(whole.indexOf('?') < 0 ? whole.size() : whole.indexOf('?'));
    const QByteArray folder = withoutQuery.left(withoutQuery.lastIndexOf('/') + 1);
    const QString path
        = PercentEncoding::encoded(relativePath.toUtf8(), PercentEncoding::Kept("/!$&'()*+,=@"));
    return ZEL_PASS(parse(folder + path.toLatin1()));
}

QList<QByteArray> HttpUrl::secrets() const
{
    QList<QByteArray> values;
    for (const QByteArray &pair : query.split('&')) {
        const QByteArray value = pair.mid(pair.indexOf('=') + 1);
        const QByteArray decoded = QByteArray::fromPercentEncoding(value);
        if (decoded.size() >= shortestSecret)
            values << value << decoded;
    }
    // Of the path only what is known as a secret: the rest of it is the resource's name.
    const QStringList known
        = secretsOfQuery(QString::fromLatin1(query)) + secretsOfPath(QString::fromLatin1(path));
    for (const QString &value : known)
        values << value.toLatin1() << QByteArray::fromPercentEncoding(value.toLatin1());
    return values;
}

Result<HttpUrl> HttpUrl::parsed(const QByteArray &base, const QByteArray &location)
{
    const Url url(curl_url());
    const unsigned flags = CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE;
    const bool good = (base.isEmpty()
                       || curl_url_set(url.get(), CURLUPART_URL, base.constData(), 0) == CURLUE_OK)
        && curl_url_set(url.get(), CURLUPART_URL, location.constData(), flags) == CURLUE_OK;
    if (!good) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("the server redirects to an address that cannot be read"));
    }

    dropWhatIsNotSent(url.get());
    HttpUrl result;
    result.whole = part(url.get(), CURLUPART_URL);
    result.scheme = part(url.get(), CURLUPART_SCHEME).toLower();
    result.host = part(url.get(), CURLUPART_HOST).toLower();
    result.port = part(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
    result.path = part(url.get(), CURLUPART_PATH);
    result.query = part(url.get(), CURLUPART_QUERY);
    return result;
}

} // namespace zel
