#include "output/Format.h"

#include <QRegularExpression>
#include <QStringBuilder>
#include <QtNumeric>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

QString scaled(double bytes)
{
    static constexpr std::array<QStringView, 7> units { u"B",   u"KiB", u"MiB", u"GiB",
                                                        u"TiB", u"PiB", u"EiB" };
    // What would be rounded to 1024.0 is shown in the next unit already.
    constexpr double nextUnitFrom = 1023.95;
    std::size_t unit = 0;
    while (bytes >= nextUnitFrom && unit + 1 < units.size()) {
        bytes /= 1024;
        ++unit;
    }
    // Not printed as a fraction, which takes several times as long: a list has a size in each line.
    if (unit == 0)
        return QString::number(std::llround(bytes)) % u" B";
    const qint64 tenths = std::llround(bytes * 10);
    return QString::number(tenths / 10) % u'.' % QChar(u'0' + int(tenths % 10)) % u' '
        % units.at(unit);
}

/// How many bytes one of "", "k", "kb", "kib" and so on is.
qint64 bytesOfUnit(const QString &unit)
{
    const QString lower = unit.toLower();
    const qsizetype power = lower.isEmpty() ? 0 : u"kmgtpe"_s.indexOf(lower.front()) + 1;
    const qint64 step = lower.size() == 2 ? 1000 : 1024;
    qint64 bytes = 1;
    for (qsizetype i = 0; i < power; ++i)
        bytes *= step;
    return bytes;
}

void putTwoDigits(QChar *place, int number)
{
    place[0] = QChar(u'0' + number / 10);
    place[1] = QChar(u'0' + number % 10);
}

QString twoDigits(qint64 number)
{
    return u"%1"_s.arg(number, 2, 10, QChar(u'0'));
}

} // namespace

QString sizeText(qint64 bytes)
{
    return bytes < 0 ? u"-"_s + scaled(-double(bytes)) : scaled(double(bytes));
}

std::optional<qint64> sizeFromText(const QString &text)
{
    const QRegularExpression pattern(u"^([0-9]+)(\\.[0-9]+)?(?: ?(?:([kmgtpe](?:i?b)?)|b))?\\z"_s,
                                     QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(text);
    const QString fraction = match.captured(2);
    const QString unit = match.captured(3);
    if (!match.hasMatch() || (unit.isEmpty() && !fraction.isEmpty()))
        return {};

    bool isNumber = false;
    const qint64 whole = match.captured(1).toLongLong(&isNumber);
    const qint64 scale = bytesOfUnit(unit);
    const qint64 part = std::llround((u'0' + fraction).toDouble() * double(scale));
    qint64 bytes = 0;
    if (!isNumber || qMulOverflow(whole, scale, &bytes) || qAddOverflow(bytes, part, &bytes))
        return {};
    return bytes;
}

QString rateText(double bytesPerSecond)
{
    return scaled(std::max(bytesPerSecond, 0.0)) + u"/s"_s;
}

QString durationText(std::chrono::seconds duration)
{
    const qint64 all = std::max<qint64>(duration.count(), 0);
    const qint64 seconds = all % 60;
    const qint64 minutes = all / 60 % 60;
    const qint64 hours = all / 3600;
    if (hours >= 24)
        return u"%1d %2h"_s.arg(QString::number(hours / 24), twoDigits(hours % 24));
    if (hours > 0)
        return u"%1:%2:%3"_s.arg(QString::number(hours), twoDigits(minutes), twoDigits(seconds));
    return u"%1:%2"_s.arg(QString::number(minutes), twoDigits(seconds));
}

std::optional<std::chrono::milliseconds> durationFromText(const QString &text)
{
    // Behind a fraction there is nothing but its unit.
    const QString number = u"([0-9]{1,10}(?:\\.[0-9]{1,9}(?= ?[dhms]?\\z))?)"_s;
    const QRegularExpression pattern(
        u"^(?:(?:%1 ?d)?(?:%1 ?h)?(?:%1 ?m)?(?:%1 ?s)?|%1)\\z"_s.arg(number),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(text);
    static constexpr std::array<double, 5> secondsOfParts { 86400, 3600, 60, 1, 1 };
    double seconds = 0;
    for (std::size_t i = 0; i < secondsOfParts.size(); ++i)
        seconds += match.captured(int(i) + 1).toDouble() * secondsOfParts.at(i);

    const std::chrono::milliseconds duration(std::llround(seconds * 1000));
    constexpr std::chrono::hours most(24 * 36'500);
    const bool isMeant = duration > std::chrono::milliseconds(0) && duration <= most;
    return isMeant ? std::optional(duration) : std::nullopt;
}

QString timeText(qint64 milliseconds)
{
    // Not by way of a date and time of Qt, which looks for the zone's file with each of them.
    const std::time_t seconds = (milliseconds - (milliseconds < 0 ? 999 : 0)) / 1000;
    std::tm local {};
    if (::localtime_r(&seconds, &local) == nullptr)
        return {};
    // Nor with a format, which would take a third of the time of a long list.
    QString text = u"0000-00-00 00:00:00"_s;
    QChar *const letters = text.data();
    const int year = local.tm_year + 1900;
    const bool hasFourDigits = year >= 0 && year <= 9999;
    putTwoDigits(letters, hasFourDigits ? year / 100 : 0);
    putTwoDigits(letters + 2, hasFourDigits ? year % 100 : 0);
    putTwoDigits(letters + 5, local.tm_mon + 1);
    putTwoDigits(letters + 8, local.tm_mday);
    putTwoDigits(letters + 11, local.tm_hour);
    putTwoDigits(letters + 14, local.tm_min);
    putTwoDigits(letters + 17, local.tm_sec);
    return hasFourDigits ? text : QString::number(year).rightJustified(4, u'0') % text.mid(4);
}

} // namespace zel::cli
