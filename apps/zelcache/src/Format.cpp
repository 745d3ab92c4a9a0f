#include "Format.h"

#include <QDateTime>

#include <algorithm>
#include <array>

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
    return QString::number(bytes, 'f', unit == 0 ? 0 : 1) + u' ' + units.at(unit).toString();
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

QString timeText(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds).toString(u"yyyy-MM-dd HH:mm:ss"_s);
}

} // namespace zel::cli
