#pragma once

#include <QString>

#include <optional>

namespace zel::cli {

/// How far one or several fetches have come, as far as it is known.
struct ProgressState
{
    QString label; ///< what is fetched, for people; not yet escaped
    std::optional<double> fraction; ///< 0 to 1
    std::optional<qint64> receivedBytes;
    std::optional<qint64> totalBytes;
    std::optional<double> bytesPerSecond;
    std::optional<qint64> fetchingProcess; ///< the process that fetches, if it is another one
    int finishedCount = 0;
    int overallCount = 1;
};

/// One line that fits into so many columns and leaves the last one free, since a terminal wraps
/// there. With little room the less telling parts are left out; percent and label go last.
QString progressLine(const ProgressState &state, int columns);

} // namespace zel::cli
