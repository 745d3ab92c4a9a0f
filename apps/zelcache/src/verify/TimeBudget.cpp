#include "verify/TimeBudget.h"

#include <QRegularExpression>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using std::chrono::milliseconds;

milliseconds unitOf(const QString &letter)
{
    switch (letter.at(0).toLower().unicode()) {
    case u's':
        return std::chrono::seconds(1);
    case u'm':
        return std::chrono::minutes(1);
    case u'h':
        return std::chrono::hours(1);
    default:
        return std::chrono::days(1);
    }
}

} // namespace

std::optional<milliseconds> timeBudgetFromText(const QString &text)
{
    const QRegularExpression pattern(u"^([0-9]+(?:\\.[0-9]+)?) ?([smhd])\\z"_s,
                                     QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return {};
    const double found = match.captured(1).toDouble() * double(unitOf(match.captured(2)).count());
    const double most = double(milliseconds(std::chrono::years(1)).count());
    if (found < 1 || !(found <= most))
        return {};
    return milliseconds(qint64(found));
}

} // namespace zel::cli
