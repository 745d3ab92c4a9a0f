#include "dav/DavCollection.h"

#include "errors/Propagate.h"
#include "http/HttpFailure.h"
#include "references/PercentEncoding.h"
#include "references/ResourceReferenceUtils.h"

#include <QStringDecoder>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What need not be encoded in a segment, so that an address looks as servers write it.
constexpr PercentEncoding::Kept keptInSegment("!$&'()*+,;=:@");

QByteArray encoded(const QByteArray &segment)
{
    return PercentEncoding::encoded(segment, keptInSegment).toLatin1();
}

/// The scheme of an address, "http" or so; empty if there is none.
QString schemeOf(const QString &address)
{
    const QString start = address.section(u'/', 0, 0);
    return start.contains(u':') ? start.section(u':', 0, 0).toLower() : QString();
}

} // namespace

DavCollection::DavCollection(const HttpUrl &url, const QByteArrayList &segments)
    : url(url)
    , segments(segments)
{
}

Result<DavCollection> DavCollection::at(const HttpUrl &url)
{
    ZEL_TRY_LET(const QByteArrayList segments, segmentsOf(QString::fromLatin1(url.encodedPath())));
    return DavCollection(url, segments);
}

Result<QString> DavCollection::memberName(const QString &href) const
{
    ZEL_TRY_LET(const QString path, pathOf(href));
    ZEL_TRY_LET(const QByteArrayList given, segmentsOf(path));
    const bool isHere = given.mid(0, segments.size()) == segments;
    if (!isHere || given.size() > segments.size() + 1)
        return ZEL_PASS(foreign(href));
    if (given.size() == segments.size())
        return QString();

    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString name = decoder(given.last());
    if (decoder.hasError() || ResourceReferenceUtils::hasControlCharacters(name)) {
        return ZEL_ERROR(
            ErrorCode::BadData,
            tr("the server lists \"%1\", which is no name of a file").arg(shown(href)));
    }
    return name;
}

Result<QString> DavCollection::pathOf(const QString &href) const
{
    // Encoded they belong to names; as they are they would belong to none.
    if (href.contains(u'?') || href.contains(u'#'))
        return ZEL_PASS(foreign(href));
    if (href.startsWith(u"//"_s))
        return ZEL_PASS(pathOnThisHost(href.mid(2)));
    if (href.startsWith(u'/'))
        return href;
    const QString scheme = schemeOf(href);
    if (scheme.isEmpty())
        return QString::fromLatin1(encodedPath()) + u'/' + href;
    const bool isWeb = scheme == u"http"_s || scheme == u"https"_s;
    if (!isWeb || href.mid(scheme.size(), 3) != u"://"_s)
        return ZEL_PASS(foreign(href));
    return ZEL_PASS(pathOnThisHost(href.mid(scheme.size() + 3)));
}

/// The name of the host counts, not scheme and port: servers behind another one, which does the
/// encryption, tell their own.
Result<QString> DavCollection::pathOnThisHost(const QString &address) const
{
    const QString authority = address.section(u'/', 0, 0);
    const Result<HttpUrl> server = HttpUrl::parse("http://" + authority.toUtf8());
    if (!server.hasValue() || server.value().hostName() != url.hostName())
        return ZEL_PASS(foreign(address));
    return address.mid(authority.size());
}

Error DavCollection::foreign(const QString &href) const
{
    return ZEL_ERROR(
        ErrorCode::BadData,
        tr("the server lists \"%1\", which does not lie in the folder").arg(shown(href)));
}

Result<QByteArrayList> DavCollection::segmentsOf(const QString &path)
{
    QByteArrayList segments;
    for (const QString &encodedSegment : path.split(u'/')) {
        const Result<QByteArray> segment = PercentEncoding::decoded(encodedSegment);
        const bool isName = segment.hasValue() && segment.value() != ".."
            && !segment.value().contains('/') && !segment.value().contains('\0');
        if (!isName) {
            return ZEL_ERROR(ErrorCode::BadData, tr("the server lists what is no path of a file"));
        }
        if (!segment.value().isEmpty() && segment.value() != ".")
            segments << segment.value();
    }
    return segments;
}

/// Without secrets of the address that was asked, and without control characters.
QString DavCollection::shown(const QString &href) const
{
    return HttpFailure::oneLine(href.toUtf8(), url.secrets());
}

QByteArray DavCollection::encodedPath() const
{
    QByteArray path;
    for (const QByteArray &segment : segments)
        path += '/' + encoded(segment);
    return path;
}

Result<HttpUrl> DavCollection::member(const QString &name, bool isFolder) const
{
    const QByteArray end = isFolder ? "/" : "";
    return ZEL_PASS(url.atPath(encodedPath() + '/' + encoded(name.toUtf8()) + end));
}

Result<HttpUrl> DavCollection::folder() const
{
    return ZEL_PASS(url.atPath(encodedPath() + '/'));
}

DavCollection DavCollection::parent() const
{
    return DavCollection(url, segments.mid(0, std::max<qsizetype>(segments.size() - 1, 0)));
}

} // namespace zel
