#include "references/UrlReference.h"

#include "errors/Propagate.h"
#include "references/PercentEncoding.h"
#include "references/PublicQuery.h"
#include "references/ResourceReferenceUtils.h"

#include <QStringBuilder>
#include <QStringList>
#include <QUrl>

#include <algorithm>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr PercentEncoding::Kept keptInPath("/!$&'()*+,;=:@");
constexpr PercentEncoding::Kept keptInQuery("/!$&'()*+,;=:@?");

bool hasDotSegments(QStringView path)
{
    const auto beginsSegment = [](QChar first, QChar second) {
        return first == u'/' && second == u'.';
    };
    return std::adjacent_find(path.begin(), path.end(), beginsSegment) != path.end();
}

/// "." and ".." resolved as browsers and servers do; nothing lies above the root.
QString withoutDotSegments(QString path)
{
    if (path.startsWith(u'/') && !hasDotSegments(path))
        return path;
    QStringList segments;
    const QStringList given = path.split(u'/');
    for (qsizetype i = 1; i < given.size(); ++i) {
        const bool isLast = i == given.size() - 1;
        const QString &segment = given.at(i);
        if (segment == u".."_s && !segments.isEmpty())
            segments.removeLast();
        if (segment != u"."_s && segment != u".."_s)
            segments << segment;
        else if (isLast)
            segments << QString();
    }
    return u'/' + segments.join(u'/');
}

/// As good as all hosts, and a cache may name one in each of many references: its one spelling is
/// itself. What is left out here, as labels that encode others do, is asked of Qt.
bool isPlainHost(QStringView host)
{
    constexpr qsizetype mostLetters = 200; // well below what a host may have
    constexpr qsizetype mostOfLabel = 63;
    qsizetype ofLabel = 0;
    QChar last = u'.';
    for (const QChar character : host) {
        const bool isLetter
            = (character >= u'a' && character <= u'z') || (character >= u'0' && character <= u'9');
        const bool endsLabel = character == u'.';
        // Hyphens stand alone and between letters: "xn--" begins an encoded label.
        if (!isLetter && (!(endsLabel || character == u'-') || last == u'.' || last == u'-'))
            return false;
        ofLabel = endsLabel ? 0 : ofLabel + 1;
        if (ofLabel > mostOfLabel)
            return false;
        last = character;
    }
    return last != u'.' && last != u'-' && host.size() <= mostLetters;
}

bool isHostCharacter(QChar character)
{
    return (character >= u'a' && character <= u'z') || (character >= u'0' && character <= u'9')
        || character == u'-' || character == u'.' || character == u'_';
}

/// The protocol is taken in any case, the host in its one spelling.
QString serverText(QStringView protocol, QStringView host, QStringView port)
{
    QString text = protocol % u"://" % host % port;
    const auto begin = text.begin();
    std::transform(begin, begin + protocol.size(), begin,
                   [](QChar character) { return character.toLower(); });
    return text;
}

} // namespace

UrlReference::UrlReference(Scheme scheme, Parts &&givenParts, ExpectedContent &&givenContent)
    : ResourceReference(scheme)
    , parts(std::move(givenParts))
    , expected(std::move(givenContent))
    , latest(UrlReference::referenceText(false))
{
    if (parts.path != parts.publicPath || parts.query != parts.publicQuery)
        latest.set(ownRequestUrl());
}

Result<QSharedPointer<ResourceReference>> UrlReference::parse(Scheme scheme, const QString &text)
{
    const qsizetype hash = text.indexOf(u'#');
    ExpectedContent expected;
    if (hash >= 0) {
        ZEL_TRY_LET(expected, ExpectedContent::fromString(text.mid(hash + 1)));
    }
    ZEL_TRY_LET(Parts parts, split(QStringView(text).first(hash < 0 ? text.size() : hash)));
    return QSharedPointer<ResourceReference>(
        new UrlReference(scheme, std::move(parts), std::move(expected)));
}

Result<UrlReference::Parts> UrlReference::split(QStringView text)
{
    const QStringView protocol = text.left(text.indexOf(u':'));
    const QStringView rest = text.mid(protocol.size() + 1);
    if (!rest.startsWith(u"//")) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("An address starts with \"%1://\" and a host.").arg(protocol.toString().toLower()));
    }
    const qsizetype question = rest.indexOf(u'?');
    const QStringView place = question < 0 ? rest.mid(2) : rest.mid(2, question - 2);
    const QStringView authority = place.left(place.indexOf(u'/'));

    Parts parts;
    ZEL_TRY_LET(parts.server, normalisedServer(protocol, authority));
    ZEL_TRY_LET(QString path, PercentEncoding::normalised(place.mid(authority.size()), keptInPath));
    parts.path = path.isEmpty() ? u"/"_s : withoutDotSegments(std::move(path));
    const QString shown = publicPath(parts.path);
    // Once more: what stands before a parameter may be "..", and a key form is read again.
    parts.publicPath = shown == parts.path ? shown : withoutDotSegments(shown);
    if (question >= 0) {
        ZEL_TRY_LET(parts.query, PercentEncoding::normalised(rest.mid(question + 1), keptInQuery));
        parts.publicQuery = publicQuery(parts.query);
    }
    return parts;
}

Result<QString> UrlReference::normalisedServer(QStringView protocol, QStringView authority)
{
    if (isPlainHost(authority))
        return serverText(protocol, authority, {});
    if (authority.contains(u'@')) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("An address must not contain a user name or a password. They belong "
                            "into the file ~/.netrc."));
    }
    // A colon inside brackets belongs to the host.
    const qsizetype colon
        = authority.indexOf(u':', std::max<qsizetype>(authority.indexOf(u']'), 0));
    const QStringView host = colon < 0 ? authority : authority.first(colon);
    ZEL_TRY_LET(const QString goodHost, normalisedHost(host.toString()));
    ZEL_TRY_LET(
        const QString port,
        normalisedPort(protocol, colon < 0 ? QString() : authority.mid(colon + 1).toString()));
    return serverText(protocol, goodHost, port);
}

Result<QString> UrlReference::normalisedHost(const QString &host)
{
    if (isPlainHost(host))
        return host;
    QString normalised;
    if (host.startsWith(u'[') && host.endsWith(u']')) {
        QUrl url;
        url.setHost(host, QUrl::StrictMode);
        normalised = url.host(QUrl::FullyEncoded).isEmpty()
            ? QString()
            : u'[' + url.host(QUrl::FullyEncoded).toLower() + u']';
    } else {
        const QString ace = QString::fromLatin1(QUrl::toAce(host.toLower()));
        if (std::all_of(ace.begin(), ace.end(), isHostCharacter))
            normalised = ace;
    }
    if (normalised.isEmpty()) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("\"%1\" is not the name of a host.").arg(ResourceReferenceUtils::printable(host)));
    }
    return normalised;
}

Result<QString> UrlReference::normalisedPort(QStringView protocol, const QString &port)
{
    if (port.isEmpty())
        return QString();
    bool isNumber = false;
    const uint number = port.toUShort(&isNumber);
    const bool areDigits
        = std::all_of(port.begin(), port.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    // Not shown: it may be the password of a user without a host.
    if (!isNumber || !areDigits || number == 0)
        return ZEL_ERROR(ErrorCode::BadArgument, tr("The port of an address is no number."));
    const bool isHttps = protocol.compare(u"https", Qt::CaseInsensitive) == 0;
    const bool isDefault = number == (isHttps ? 443u : 80u);
    return isDefault ? QString() : u':' + QString::number(number);
}

QString UrlReference::referenceText(bool forDisplay) const
{
    const QString query = parts.publicQuery.isEmpty() ? QString() : u'?' + parts.publicQuery;
    if (forDisplay)
        return PercentEncoding::displayed(parts.server + parts.publicPath + query);
    const QString fragment = expected.isEmpty() ? QString() : u'#' + expected.toString();
    return parts.server % parts.publicPath % query % fragment;
}

std::optional<QString> UrlReference::referencePath() const
{
    return PercentEncoding::displayed(parts.publicPath);
}

std::optional<QString> UrlReference::referenceFullPath() const
{
    return referenceText(true);
}

QByteArray UrlReference::requestUrl() const
{
    const QByteArray signedLast = latest.get();
    return signedLast.isEmpty() ? ownRequestUrl() : signedLast;
}

QByteArray UrlReference::ownRequestUrl() const
{
    const QString query = parts.query.isEmpty() ? QString() : u'?' + parts.query;
    return (parts.server + parts.path + query).toLatin1();
}

QString UrlReference::fileName() const
{
    const QStringList segments = parts.publicPath.split(u'/', Qt::SkipEmptyParts);
    return segments.isEmpty() ? parts.server.section(u'/', -1)
                              : PercentEncoding::displayed(segments.last());
}

} // namespace zel
