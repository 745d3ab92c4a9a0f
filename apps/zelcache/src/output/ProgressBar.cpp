#include "output/ProgressBar.h"

#include "output/Format.h"
#include "output/Text.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <vector>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ProgressBar)
};

constexpr int gap = 2; ///< columns between two parts
constexpr int shortestLabel = 8;
constexpr int longestLabel = 32;
constexpr int shortestBar = 12;
constexpr int longestBar = 32;

/// A part of the line; of those that do not fit, the one of the lowest weight goes first.
struct Part
{
    QString text;
    int weight = 0;
};

std::optional<double> fractionOf(const ProgressState &state)
{
    if (state.fraction)
        return std::clamp(*state.fraction, 0.0, 1.0);
    if (!state.receivedBytes || state.totalBytes.value_or(0) <= 0)
        return {};
    return std::clamp(double(*state.receivedBytes) / double(*state.totalBytes), 0.0, 1.0);
}

QString percentText(double fraction)
{
    // Down, so that 100% is never shown before the end.
    return u"%1%"_s.arg(int(std::floor(fraction * 100)), 3);
}

QString bytesText(const ProgressState &state)
{
    const QString received = sizeText(*state.receivedBytes);
    if (state.totalBytes.value_or(0) <= 0)
        return received;
    return Texts::tr("%1 of %2").arg(received, sizeText(*state.totalBytes));
}

std::optional<QString> timeLeftText(const ProgressState &state)
{
    if (!state.receivedBytes || state.totalBytes.value_or(0) <= 0
        || state.bytesPerSecond.value_or(0) < 1)
        return {};
    const qint64 missing = std::max<qint64>(*state.totalBytes - *state.receivedBytes, 0);
    const auto seconds = qint64(std::ceil(double(missing) / *state.bytesPerSecond));
    return Texts::tr("%1 left").arg(durationText(std::chrono::seconds(seconds)));
}

/// Everything behind the bar, in the order in which it is shown.
std::vector<Part> partsOf(const ProgressState &state)
{
    std::vector<Part> parts;
    if (const auto fraction = fractionOf(state))
        parts.push_back({ percentText(*fraction), 6 });
    if (state.overallCount > 1)
        parts.push_back({ u"%1/%2"_s.arg(state.finishedCount).arg(state.overallCount), 5 });
    if (state.fetchingProcess)
        parts.push_back({ Texts::tr("fetched by process %1").arg(*state.fetchingProcess), 4 });
    if (state.receivedBytes)
        parts.push_back({ bytesText(state), 3 });
    if (state.bytesPerSecond)
        parts.push_back({ rateText(*state.bytesPerSecond), 1 });
    if (const auto left = timeLeftText(state))
        parts.push_back({ *left, 2 });
    return parts;
}

int columnsOfParts(const std::vector<Part> &parts)
{
    int columns = 0;
    for (const Part &part : parts)
        columns += gap + columnsOf(part.text);
    return columns;
}

void dropUntilFitting(std::vector<Part> &parts, int columns)
{
    const auto lighter = [](const Part &left, const Part &right) {
        return left.weight < right.weight;
    };
    while (!parts.empty() && columnsOfParts(parts) > columns)
        parts.erase(std::min_element(parts.begin(), parts.end(), lighter));
}

QString barText(double fraction, int columns)
{
    const int inside = columns - 2;
    const int filled = int(std::floor(fraction * inside));
    QString bar = QString(filled, u'=') + QString(inside - filled, u' ');
    if (filled < inside)
        bar[filled] = u'>';
    return u'[' + bar + u']';
}

} // namespace

QString progressLine(const ProgressState &state, int columns)
{
    const int room = std::max(columns - 1, 0);
    const QString label = escaped(state.label);
    std::vector<Part> parts = partsOf(state);
    dropUntilFitting(parts, room - std::min(columnsOf(label), shortestLabel));

    int left = room - columnsOfParts(parts);
    const auto fraction = fractionOf(state);
    const bool hasBar = fraction && left >= shortestLabel + gap + shortestBar;
    const int forLabel = hasBar ? left - gap - shortestBar : left;
    const QString shownLabel = elided(label, std::min(forLabel, longestLabel));
    left -= columnsOf(shownLabel);

    QString line = shownLabel;
    if (hasBar)
        line += u"  "_s + barText(*fraction, std::min(left - gap, longestBar));
    for (const Part &part : parts)
        line += u"  "_s + part.text;
    return line;
}

} // namespace zel::cli
