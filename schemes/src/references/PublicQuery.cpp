#include "references/PublicQuery.h"

#include <QByteArray>
#include <QStringList>
#include <QUrl>

#include <algorithm>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

QString nameOf(const QString &parameter)
{
    return QUrl::fromPercentEncoding(parameter.section(u'=', 0, 0).toUtf8()).toLower();
}

/// Parameters that are secrets wherever they stand.
bool isSecret(const QString &name)
{
    static constexpr QLatin1StringView names[] {
        QLatin1StringView("signature"),     QLatin1StringView("sig"),
        QLatin1StringView("token"),         QLatin1StringView("access_token"),
        QLatin1StringView("accesstoken"),   QLatin1StringView("auth"),
        QLatin1StringView("authorization"), QLatin1StringView("auth_token"),
        QLatin1StringView("apikey"),        QLatin1StringView("api_key"),
        QLatin1StringView("api-key"),       QLatin1StringView("subscription-key"),
        QLatin1StringView("password"),      QLatin1StringView("passwd"),
        QLatin1StringView("pwd"),           QLatin1StringView("pass"),
        QLatin1StringView("secret"),        QLatin1StringView("client_secret"),
        QLatin1StringView("jwt"),           QLatin1StringView("session"),
        QLatin1StringView("sessionid"),     QLatin1StringView("hmac"),
        QLatin1StringView("private_token"), QLatin1StringView("ticket"),
        QLatin1StringView("jsessionid"),    QLatin1StringView("phpsessid"),
    };
    return name.startsWith(u"x-amz-"_s) || name.startsWith(u"x-goog-"_s)
        || std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// Parameters that belong to a signature if there is one, and may be anything if there is none.
bool accompaniesSignature(const QString &name)
{
    static constexpr QLatin1StringView names[] {
        QLatin1StringView("awsaccesskeyid"),
        QLatin1StringView("googleaccessid"),
        QLatin1StringView("expires"),
        QLatin1StringView("policy"),
        QLatin1StringView("key-pair-id"),
        QLatin1StringView("sv"),
        QLatin1StringView("se"),
        QLatin1StringView("st"),
        QLatin1StringView("sp"),
        QLatin1StringView("sr"),
        QLatin1StringView("spr"),
        QLatin1StringView("sip"),
        QLatin1StringView("ss"),
        QLatin1StringView("srt"),
        QLatin1StringView("skoid"),
        QLatin1StringView("sktid"),
        QLatin1StringView("skt"),
        QLatin1StringView("ske"),
        QLatin1StringView("sks"),
        QLatin1StringView("skv"),
        QLatin1StringView("si"),
        QLatin1StringView("expiry"),
    };
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// Those of the parameters that may be shown and kept.
QStringList publicOnes(const QStringList &parameters)
{
    const bool isSigned = std::any_of(parameters.begin(), parameters.end(),
                                      [](const QString &p) { return isSecret(nameOf(p)); });
    QStringList rest;
    for (const QString &parameter : parameters) {
        const QString name = nameOf(parameter);
        if (!isSecret(name) && !(isSigned && accompaniesSignature(name)))
            rest << parameter;
    }
    return rest;
}

QStringList secretValues(const QStringList &parameters)
{
    QStringList values;
    for (const QString &parameter : parameters) {
        const QString value = parameter.section(u'=', 1);
        if (isSecret(nameOf(parameter)) && !value.isEmpty())
            values << value;
    }
    return values;
}

} // namespace

QString publicQuery(const QString &query)
{
    const QStringList parameters = query.split(u'&', Qt::SkipEmptyParts);
    const QStringList rest = publicOnes(parameters);
    // Left as it was unless something went: empty parameters may mean something to a server.
    return rest.size() == parameters.size() ? query : rest.join(u'&');
}

QStringList secretsOfQuery(const QString &query)
{
    return secretValues(query.split(u'&', Qt::SkipEmptyParts));
}

QString publicPath(const QString &path)
{
    if (!path.contains(u';'))
        return path;
    QStringList segments = path.split(u'/');
    for (QString &segment : segments) {
        const QStringList parts = segment.split(u';');
        segment = (parts.mid(0, 1) + publicOnes(parts.mid(1))).join(u';');
    }
    return segments.join(u'/');
}

QStringList secretsOfPath(const QString &path)
{
    QStringList values;
    const QStringList segments = path.split(u'/');
    for (const QString &segment : segments)
        values << secretValues(segment.split(u';').mid(1));
    return values;
}

} // namespace zel
