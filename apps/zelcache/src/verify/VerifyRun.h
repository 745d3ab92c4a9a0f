#pragma once

#include "Context.h"
#include "platform/SignalWatch.h"
#include "verify/VerifyReport.h"

#include "ResourceCacheReader.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>

#include <chrono>
#include <optional>

namespace zel::cli {

/// Verifies resources until all are, or until its time is over or a signal comes. Names and sizes
/// of all come first. Bytes are then read where another run was cut short, of what has other times
/// than it had, and of what was not read for the longest time, in this order. Main thread only.
///
/// With a budget names and sizes have half of it at most, and the next run goes on with them where
/// this one ended. Each run looks at some resources and reads some bytes, however little time it
/// has: so many runs get round the whole cache.
class VerifyRun
{
public:
    /// Without a budget everything is read from its first byte on.
    VerifyRun(const Context &context, const ManifestStore &store,
              const std::optional<std::chrono::milliseconds> &budget);

    /// Settles what has no failure yet.
    void verify(VerifyReport &report);
    /// The number of the signal that came, else 0.
    int receivedSignal() const { return signalWatch.received(); }

private:
    /// What is to be read.
    struct Due
    {
        qsizetype index = 0; ///< of the result
        bool isCutShort = false;
        bool hasOtherTimes = false;
        QDateTime verified;
        qint64 bytes = 0;
    };

    QList<Due> compare(VerifyReport &report);
    void compareOne(VerifyReport &report, qsizetype index, QList<Due> &dues);
    static void sort(QList<Due> &dues);
    void read(VerifyReport &report, const Due &due);
    bool isSignaled();
    bool endsReading();
    void showProgress(const QString &label);

    Context context;
    ManifestStore store;
    QDeadlineTimer deadline;
    const bool goesOnFromBefore;
    SignalWatch signalWatch;

    qint64 totalBytes = 0;
    qint64 readBytes = 0;
    int finishedCount = 0;
    int overallCount = 0;
    QElapsedTimer readTime;
    QElapsedTimer shownTime;
};

} // namespace zel::cli
