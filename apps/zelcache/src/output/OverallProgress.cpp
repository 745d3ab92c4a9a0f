#include "output/OverallProgress.h"

#include <QCoreApplication>

#include <algorithm>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::OverallProgress)
};

std::optional<double> fractionOf(const Transfer &transfer)
{
    if (transfer.settled)
        return 1;
    if (transfer.receivedBytes && transfer.totalBytes.value_or(0) > 0)
        return std::clamp(double(*transfer.receivedBytes) / double(*transfer.totalBytes), 0.0, 1.0);
    return transfer.fraction;
}

ProgressState stateOf(const Transfer &transfer)
{
    ProgressState state;
    state.label = transfer.label;
    state.fraction = fractionOf(transfer);
    state.receivedBytes = transfer.receivedBytes;
    state.totalBytes = transfer.totalBytes;
    state.bytesPerSecond = transfer.bytesPerSecond;
    state.fetchingProcess = transfer.fetchingProcess;
    return state;
}

template<typename Number>
void addKnown(std::optional<Number> &sum, const std::optional<Number> &number)
{
    if (number)
        sum = sum.value_or(0) + *number;
}

void addRunning(ProgressState &state, const Transfer &transfer)
{
    addKnown(state.receivedBytes, transfer.receivedBytes);
    addKnown(state.totalBytes, transfer.totalBytes);
    addKnown(state.bytesPerSecond, transfer.bytesPerSecond);
    if (!state.fetchingProcess)
        state.fetchingProcess = transfer.fetchingProcess;
}

QString labelOf(const QList<const Transfer *> &running)
{
    if (running.isEmpty())
        return {};
    const QString first = running.constFirst()->label;
    const qsizetype others = running.size() - 1;
    return others == 0 ? first : Texts::tr("%1 and %2 more").arg(first, QString::number(others));
}

} // namespace

ProgressState overallProgress(const QList<Transfer> &transfers)
{
    if (transfers.size() == 1)
        return stateOf(transfers.constFirst());

    ProgressState state;
    state.overallCount = int(transfers.size());
    QList<const Transfer *> running;
    bool allTotalsKnown = true;
    double fractions = 0;
    for (const Transfer &transfer : transfers) {
        fractions += fractionOf(transfer).value_or(0);
        state.finishedCount += transfer.settled ? 1 : 0;
        if (transfer.settled)
            continue;
        allTotalsKnown = allTotalsKnown && transfer.totalBytes && transfer.receivedBytes;
        if (transfer.started) {
            running.append(&transfer);
            addRunning(state, transfer);
        }
    }
    if (!transfers.isEmpty())
        state.fraction = fractions / double(transfers.size());
    if (!allTotalsKnown)
        state.totalBytes.reset();
    state.label = labelOf(running);
    return state;
}

} // namespace zel::cli
