#include "http/HttpRepresentation.h"

#include <curl/curl.h>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Seconds since the epoch, or -1.
qint64 seconds(const QByteArray &date)
{
    return date.isEmpty() ? -1 : qint64 { curl_getdate(date.constData(), nullptr) };
}

bool isStrong(const QByteArray &etag)
{
    return etag.startsWith('"');
}

} // namespace

QByteArray HttpRepresentation::rangeValidator() const
{
    if (isStrong(etag))
        return etag;
    // The time counts in seconds: a file may have changed twice within the one of the answer.
    const qint64 changed = seconds(lastModified);
    const bool settled = changed >= 0 && changed < seconds(date);
    return settled ? lastModified : QByteArray();
}

bool HttpRepresentation::isSameAs(const HttpRepresentation &other) const
{
    return !rangeValidator().isEmpty() && etag == other.etag && lastModified == other.lastModified
        && size == other.size;
}

bool HttpRepresentation::mayBelongTo(const HttpRepresentation &whole) const
{
    if (!etag.isEmpty() && etag != whole.etag)
        return false;
    // Files of one weak ETag may differ.
    return isStrong(etag) || lastModified.isEmpty() || lastModified == whole.lastModified;
}

QString HttpRepresentation::stateKey() const
{
    const QByteArray validator = rangeValidator();
    if (validator.isEmpty())
        return {};
    return QString::fromUtf8(validator) + u' ' + QString::number(size.value_or(-1));
}

QDateTime HttpRepresentation::modified() const
{
    const qint64 changed = seconds(lastModified);
    return changed < 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(changed, Qt::UTC);
}

} // namespace zel
