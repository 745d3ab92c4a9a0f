#pragma once

#include "http/HttpSink.h"
#include "http/WorkBehind.h"
#include "integrity/ContentSum.h"
#include "staging/StagingArea.h"
#include "staging/TransferProgress.h"

#include <memory>

namespace zel {

class Task;

/// The sink of a download into the cache: a staging place for each state of the file, which
/// becomes the resource when all bytes are there.
class HttpStagingSink : public HttpSink
{
    Q_DECLARE_TR_FUNCTIONS(zel::HttpStagingSink)

public:
    /// The task, whose progress this tells, is borrowed.
    HttpStagingSink(const FetchPlan &plan, Task *task);

    /// Code 7 if the rest does not fit on the volume.
    Result<qint64> open(const HttpRepresentation &state) override;
    Error startAnew() override;
    Error write(const QByteArray &bytes) override;
    Error readBack(const std::function<bool(const char *data, qint64 size)> &take) override;

    /// Puts the whole file where it is expected. Code 1 if there was no open state.
    Error publish();
    /// Writes down how far it came, for whoever goes on. Does not wait for the disk longer than it
    /// must. After a want of space it leaves the volume some.
    void giveUp(const Error &reason);

private:
    Error dropBytes();
    void startWriting();
    void stopWriting();
    void closeFile();

    FetchPlan plan;
    Task *task;
    // In this order: the later ones borrow the earlier ones.
    std::unique_ptr<StagingArea> area;
    std::unique_ptr<StagedFile> file;
    std::unique_ptr<TransferProgress> progress; ///< of the writer's thread while there is one
    std::unique_ptr<BlockSums> sums; ///< the same
    std::unique_ptr<WorkBehind> writer;
    HttpRepresentation openState;
};

} // namespace zel
