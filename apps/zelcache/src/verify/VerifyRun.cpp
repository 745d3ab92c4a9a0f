#include "verify/VerifyRun.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>
#include <tuple>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::VerifyRun)
};

constexpr int showIntervalMs = 100;

QDeadlineTimer deadlineOf(const std::optional<std::chrono::milliseconds> &budget)
{
    return budget ? QDeadlineTimer(*budget) : QDeadlineTimer(QDeadlineTimer::Forever);
}

} // namespace

VerifyRun::VerifyRun(const Context &context, const ManifestStore &store,
                     const std::optional<std::chrono::milliseconds> &budget)
    : context(context)
    , store(store)
    , deadline(deadlineOf(budget))
    , goesOnFromBefore(budget.has_value())
    , signalWatch([](int) {})
{
    shownTime.start();
}

void VerifyRun::verify(VerifyReport &report)
{
    const QList<Due> dues = compare(report);
    readTime.start();
    for (const Due &due : dues) {
        if (isOver())
            break;
        read(report, due);
        ++finishedCount;
    }
    context.output.clearProgress();
    report.readBytes = readBytes;
    report.isCutShort
        = std::any_of(report.results.begin(), report.results.end(), [](const VerifyResult &result) {
              return !result.failure.hasError() && result.verdict == Verdict::NotReached;
          });
}

QList<VerifyRun::Due> VerifyRun::compare(VerifyReport &report)
{
    QList<Due> dues;
    for (qsizetype i = 0; i < report.results.size() && !isOver(); ++i) {
        VerifyResult &result = report.results[i];
        if (result.failure.hasError())
            continue;
        ResourceVerification verification(result.reference, result.path, store);
        verification.compare();
        result.take(verification);
        if (!verification.needsReading())
            continue;
        const auto manifest = verification.manifest();
        dues.append({ i, goesOnFromBefore && manifest->isCutShort(), verification.hasOtherTimes(),
                      manifest->verified, verification.bytesToRead(goesOnFromBefore) });
        totalBytes += dues.last().bytes;
    }
    std::stable_sort(dues.begin(), dues.end(), [](const Due &left, const Due &right) {
        // What was never verified has no time, which comes before all others.
        return std::tuple(!left.isCutShort, !left.hasOtherTimes, left.verified)
            < std::tuple(!right.isCutShort, !right.hasOtherTimes, right.verified);
    });
    overallCount = int(dues.size());
    return dues;
}

/// Compares again: of a big cache nothing is kept in memory, and it is as it is now.
void VerifyRun::read(VerifyReport &report, const Due &due)
{
    VerifyResult &result = report.results[due.index];
    context.output.note(Texts::tr("Reading %1").arg(result.reference));
    const QString label = QFileInfo(result.path).fileName();
    ResourceVerification verification(result.reference, result.path, store);
    verification.compare();
    verification.read(goesOnFromBefore, [this, &label](qint64 bytes) {
        readBytes += bytes;
        showProgress(label);
        return !isOver();
    });
    result.take(verification);
}

bool VerifyRun::isOver()
{
    QCoreApplication::processEvents(); // lets a signal come in
    return signalWatch.received() != 0 || deadline.hasExpired();
}

void VerifyRun::showProgress(const QString &label)
{
    if (!context.output.drawsProgress() || shownTime.elapsed() < showIntervalMs)
        return;
    shownTime.start();
    ProgressState state;
    state.label = label;
    state.receivedBytes = readBytes;
    state.totalBytes = totalBytes;
    if (totalBytes > 0)
        state.fraction = std::min(1.0, double(readBytes) / double(totalBytes));
    if (const qint64 passed = readTime.elapsed(); passed > 0)
        state.bytesPerSecond = double(readBytes) * 1000 / double(passed);
    state.finishedCount = finishedCount;
    state.overallCount = overallCount;
    context.output.showProgress(state);
}

} // namespace zel::cli
