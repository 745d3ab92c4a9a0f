#pragma once

#include "output/ProgressBar.h"

#include <QList>

namespace zel::cli {

/// How far one fetch has come.
struct Transfer
{
    QString label;
    bool settled = false; ///< fetched, failed, or nothing to do
    bool started = false;
    std::optional<double> fraction; ///< 0 to 1
    std::optional<qint64> receivedBytes;
    std::optional<qint64> totalBytes;
    std::optional<double> bytesPerSecond;
    std::optional<qint64> fetchingProcess; ///< another one that fetches for us
};

/// All of them as one line shows them. A single fetch shows itself. Of several, the fraction counts
/// each alike and so never goes back; bytes and rate are sums, the total only if it is known of all
/// that are left.
ProgressState overallProgress(const QList<Transfer> &transfers);

} // namespace zel::cli
