#include "staging/TransferProgress.h"

#include "Task.h"

#include <algorithm>

namespace zel {

namespace {

constexpr qint64 taskIntervalMs = 100;
constexpr qint64 recordIntervalMs = 500;
constexpr qint64 largestCount = 0x3fffffff;

} // namespace

TransferProgress::TransferProgress(Task *task, StagingArea *area)
    : task(task)
    , area(area)
{
}

int TransferProgress::shiftFor(qint64 total)
{
    int shift = 0;
    while ((total >> shift) > largestCount)
        ++shift;
    return shift;
}

void TransferProgress::begin(qint64 done, std::optional<qint64> total)
{
    totalBytes = total;
    doneBytes = done;
    rateBytes = done;
    durableBytes = std::min(area->record().durableBytes, done);
    area->record().totalBytes = total;
    area->manifest().begin(done);
    taskTold.start();
    recordTold.start();
    tellTask();
    tellRecord();
}

void TransferProgress::advance(qint64 done, qint64 durable)
{
    doneBytes = done;
    area->manifest().advance(done);
    durableBytes = std::max(durableBytes, durable);
    if (taskTold.elapsed() >= taskIntervalMs)
        tellTask();
    tellRecordInTime();
}

void TransferProgress::end()
{
    tellTask();
    tellRecord();
}

void TransferProgress::endWhole()
{
    tellTask();
    tellRecordInTime();
}

void TransferProgress::tellTask()
{
    taskTold.start();
    if (!totalBytes)
        return;
    // A source may send more than it said; that it did is found out elsewhere.
    const int shift = shiftFor(*totalBytes);
    const qint64 shown = std::min(doneBytes, *totalBytes);
    task->setProgress(int(shown >> shift), int(*totalBytes >> shift));
}

void TransferProgress::tellRecordInTime()
{
    if (recordTold.elapsed() >= recordIntervalMs)
        tellRecord();
}

void TransferProgress::tellRecord()
{
    const qint64 passed = recordTold.restart();
    StagingRecord &record = area->record();
    record.bytes = doneBytes;
    record.durableBytes = durableBytes;
    if (passed > 0)
        record.bytesPerSecond = std::max<qint64>(doneBytes - rateBytes, 0) * 1000 / passed;
    rateBytes = doneBytes;
    area->saveRecord();
}

} // namespace zel
