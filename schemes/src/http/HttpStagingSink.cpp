#include "http/HttpStagingSink.h"

#include "errors/Propagate.h"

#include <algorithm>

namespace zel {

HttpStagingSink::HttpStagingSink(const FetchPlan &plan, Task *task)
    : plan(plan)
    , task(task)
{
}

Result<qint64> HttpStagingSink::open(const HttpRepresentation &state)
{
    progress.reset();
    file.reset();
    area.reset();

    Error error;
    ZEL_TRY_LET(area, StagingArea::open(plan, state.stateKey()));
    ZEL_TRY_LET(file, area->openMainFile());
    // More than all of it is not the beginning of it.
    if (state.size && file->size() > *state.size)
        ZEL_TRY(error, file->truncate(0));
    if (state.size)
        ZEL_TRY(error, area->requireSpace(*state.size - file->size()));
    openState = state;
    beginProgress(state);
    return file->size();
}

Error HttpStagingSink::startAnew()
{
    Error error;
    ZEL_TRY(error, file->truncate(0));
    beginProgress(openState);
    return error;
}

Error HttpStagingSink::write(const char *data, qint64 size)
{
    Error error;
    ZEL_TRY(error, file->append(data, size));
    progress->advance(file->size(), file->durableBytes());
    return error;
}

Error HttpStagingSink::readBack(const std::function<bool(const char *data, qint64 size)> &take)
{
    return ZEL_PASS(file->readBack(take));
}

Error HttpStagingSink::publish()
{
    Error error;
    if (!file)
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("There is nothing to publish."));
    ZEL_TRY(error, file->sync());
    progress->advance(file->size(), file->durableBytes());
    giveUp();
    return ZEL_PASS(area->publish());
}

void HttpStagingSink::giveUp()
{
    if (progress)
        progress->end();
    progress.reset();
    file.reset();
}

void HttpStagingSink::beginProgress(const HttpRepresentation &state)
{
    progress = std::make_unique<TransferProgress>(task, area.get());
    progress->begin(file->size(), state.size);
}

} // namespace zel
