#pragma once

#include "staging/StagingArea.h"

#include <QElapsedTimer>

#include <optional>

namespace zel {

class Task;

/// Tells how far a transfer is: to the task's listeners and to the staging record, each as often as
/// is of use and no more. One thread, that of the transfer.
class TransferProgress
{
public:
    /// Task and area are borrowed.
    TransferProgress(Task *task, StagingArea *area);

    /// `done` bytes are here already. Without a total the task shows no progress until it ends.
    void begin(qint64 done, std::optional<qint64> total);
    /// `done` bytes are here now, `durable` of them on the disk. Cheap: call it for every piece.
    void advance(qint64 done, qint64 durable);
    /// Writes down where the transfer ended, for those who go on from there.
    void end();
    /// The same where all has come and goes to its place at once, the record with it: that is
    /// written only if it is its time.
    void endWhole();

    /// A number of 32 bits for each byte count of a total of any size: bytes shifted right by this.
    static int shiftFor(qint64 total);

private:
    void tellTask();
    void tellRecordInTime();
    void tellRecord();

    Task *const task;
    StagingArea *const area;
    std::optional<qint64> totalBytes;
    qint64 doneBytes = 0;
    qint64 durableBytes = 0;
    qint64 rateBytes = 0; ///< done when the rate was measured last
    QElapsedTimer taskTold;
    QElapsedTimer recordTold;
};

} // namespace zel
