#include "references/PercentEncoding.h"

#include "errors/Propagate.h"
#include "references/ResourceReferenceUtils.h"

#include <QStringDecoder>

#include <algorithm>
#include <optional>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

using Kept = PercentEncoding::Kept;

constexpr Kept neverEncoded("");

/// Bytes of more than seven bits never do.
bool standsForItself(char byte, const Kept &kept)
{
    return kept.contains(QLatin1Char(byte).unicode());
}

/// As good as always, since keys are: making those of a large cache anew would take long.
bool isNormalised(QStringView text, const Kept &kept)
{
    return std::all_of(text.begin(), text.end(),
                       [&kept](QChar character) { return kept.contains(character.unicode()); });
}

std::optional<int> hexDigit(char byte)
{
    if (byte >= '0' && byte <= '9')
        return byte - '0';
    if (byte >= 'a' && byte <= 'f')
        return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F')
        return byte - 'A' + 10;
    return std::nullopt;
}

/// The byte that the three characters at `position` stand for.
std::optional<char> encodedByte(const QByteArray &bytes, qsizetype position)
{
    if (position + 2 >= bytes.size())
        return std::nullopt;
    const auto high = hexDigit(bytes.at(position + 1));
    const auto low = hexDigit(bytes.at(position + 2));
    return high && low ? std::optional(char(*high * 16 + *low)) : std::nullopt;
}

QString encodedText(char byte)
{
    return u'%' + QString::fromLatin1(QByteArray(1, byte).toHex().toUpper());
}

/// Whether the bytes are text that may be shown as it is.
std::optional<QString> printableText(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    const bool isShown = !decoder.hasError() && ResourceReferenceUtils::printable(text) == text;
    return isShown ? std::optional(text) : std::nullopt;
}

} // namespace

Result<QString> PercentEncoding::normalised(QStringView text, const Kept &kept)
{
    if (isNormalised(text, kept))
        return text.toString();
    const QByteArray bytes = text.toUtf8();
    QString result;
    result.reserve(bytes.size());
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char byte = bytes.at(i);
        if (byte != '%') {
            if (standsForItself(byte, kept))
                result += QLatin1Char(byte);
            else
                result += encodedText(byte);
            continue;
        }
        const auto meant = encodedByte(bytes, i);
        if (!meant) {
            return ZEL_ERROR(ErrorCode::BadArgument,
                             tr("A percent sign in a reference has to be written \"%25\"."));
        }
        if (standsForItself(*meant, neverEncoded))
            result += QLatin1Char(*meant);
        else
            result += encodedText(*meant);
        i += 2;
    }
    return result;
}

Result<QByteArray> PercentEncoding::decoded(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray result;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes.at(i) != '%') {
            result += bytes.at(i);
            continue;
        }
        const auto meant = encodedByte(bytes, i);
        if (!meant) {
            return ZEL_ERROR(ErrorCode::BadArgument,
                             tr("A percent sign in a reference has to be written \"%25\"."));
        }
        result += *meant;
        i += 2;
    }
    return result;
}

QString PercentEncoding::encoded(const QByteArray &bytes, const Kept &kept)
{
    QString result;
    for (const char byte : bytes) {
        if (standsForItself(byte, kept))
            result += QLatin1Char(byte);
        else
            result += encodedText(byte);
    }
    return result;
}

QString PercentEncoding::displayed(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    QString result;
    for (qsizetype i = 0; i < bytes.size();) {
        QByteArray run; // as many encoded bytes in a row as there are: together they make text
        const qsizetype start = i;
        while (i < bytes.size() && bytes.at(i) == '%' && encodedByte(bytes, i)) {
            run += *encodedByte(bytes, i);
            i += 3;
        }
        if (run.isEmpty())
            result += QLatin1Char(bytes.at(i++));
        else
            result += printableText(run).value_or(QString::fromLatin1(bytes.mid(start, i - start)));
    }
    return result;
}

} // namespace zel
