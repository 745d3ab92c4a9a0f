#include "verify/VerifyRun.h"

#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QtNumeric>

#include <algorithm>
#include <limits>
#include <tuple>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::VerifyRun)
};

constexpr int showIntervalMs = 100;

// What each run does though its time is over, so that many short ones get on.
constexpr qsizetype leastCompared = 100;
/// One block: of less nothing would be kept.
constexpr qint64 leastRead = ContentManifest::defaultBlockBytes;

QDeadlineTimer halfOf(const QDeadlineTimer &deadline)
{
    return deadline.isForever() ? deadline : QDeadlineTimer(deadline.remainingTime() / 2);
}

/// -1 for what is not there.
qsizetype indexOf(const QString &reference, const VerifyReport &report)
{
    const auto found = std::find_if(
        report.results.begin(), report.results.end(),
        [&reference](const VerifyResult &result) { return result.reference == reference; });
    return found == report.results.end() ? -1 : found - report.results.begin();
}

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
        if (endsReading())
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
    const qsizetype count = report.results.size();
    const QString end = goesOnFromBefore ? store.comparedLast() : QString();
    const qsizetype first = indexOf(end, report) + 1;
    const QDeadlineTimer half = halfOf(deadline);
    qsizetype done = 0;
    for (; done < count && !isSignaled(); ++done) {
        if (done >= leastCompared && half.hasExpired())
            break;
        compareOne(report, (first + done) % count, dues);
    }
    if (goesOnFromBefore && done > 0 && done < count) {
        const QString &last = report.results.at((first + done - 1) % count).reference;
        ZEL_DROP(store.setComparedLast(last)); // else the next run begins with the same ones
    }
    sort(dues);
    overallCount = int(dues.size());
    return dues;
}

void VerifyRun::compareOne(VerifyReport &report, qsizetype index, QList<Due> &dues)
{
    VerifyResult &result = report.results[index];
    if (result.failure.hasError())
        return;
    ResourceVerification verification(result.reference, result.path, store);
    verification.compare();
    result.take(verification);
    if (!verification.needsReading())
        return;
    const auto manifest = verification.manifest();
    const qint64 bytes = verification.bytesToRead(goesOnFromBefore);
    dues.append({ index, goesOnFromBefore && manifest->isCutShort(), verification.hasOtherTimes(),
                  manifest->verified, bytes });
    if (qAddOverflow(totalBytes, bytes, &totalBytes))
        totalBytes = std::numeric_limits<qint64>::max();
}

void VerifyRun::sort(QList<Due> &dues)
{
    std::stable_sort(dues.begin(), dues.end(), [](const Due &left, const Due &right) {
        // What was never verified has no time, which comes before all others.
        return std::tuple(!left.isCutShort, !left.hasOtherTimes, left.verified)
            < std::tuple(!right.isCutShort, !right.hasOtherTimes, right.verified);
    });
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
        return !endsReading();
    });
    result.take(verification);
}

bool VerifyRun::isSignaled()
{
    return signalWatch.receivedNow() != 0;
}

bool VerifyRun::endsReading()
{
    return isSignaled() || (deadline.hasExpired() && readBytes > leastRead);
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
