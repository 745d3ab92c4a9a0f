#include "http/HttpStagingSink.h"

#include "Task.h"
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
    stopWriting();
    file.reset();
    area.reset();

    Error error;
    ZEL_TRY_LET(area, StagingArea::open(plan, state.stateKey()));
    ZEL_TRY_LET(file, area->openMainFile());
    // More than all of it is not the beginning of it.
    if (state.size && file->size() > *state.size)
        ZEL_TRY(error, dropBytes());
    if (state.size)
        ZEL_TRY(error, area->requireSpace(*state.size - file->size()));
    openState = state;
    startWriting();
    return file->size();
}

Error HttpStagingSink::startAnew()
{
    Error error;
    stopWriting();
    ZEL_TRY(error, dropBytes());
    startWriting();
    return error;
}

Error HttpStagingSink::dropBytes()
{
    area->trustAtMost(0);
    return ZEL_PASS(file->truncate(0));
}

Error HttpStagingSink::write(const QByteArray &bytes)
{
    return ZEL_PASS(writer->add(bytes));
}

Error HttpStagingSink::readBack(const std::function<bool(const char *data, qint64 size)> &take)
{
    Error error;
    ZEL_TRY(error, writer->drain());
    return ZEL_PASS(file->readBack(take));
}

Error HttpStagingSink::publish()
{
    Error error;
    if (!writer)
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("There is nothing to publish."));
    ZEL_TRY(error, writer->drain());
    ZEL_TRY(error, file->sync());
    progress->advance(file->size(), file->durableBytes());
    progress->endWhole();
    progress.reset();
    closeFile();
    area->manifest().setSums(QByteArray::fromStdString(area->mainPath().filename().native()),
                             sums->sums());
    return ZEL_PASS(area->publish());
}

void HttpStagingSink::giveUp(const Error &reason)
{
    closeFile();
    if (area)
        area->giveRoomBack(reason);
}

void HttpStagingSink::closeFile()
{
    // Who cancels does not wait for bytes that can be fetched again.
    if (writer && !task->isCanceled())
        ZEL_DROP(writer->drain());
    stopWriting();
    file.reset();
}

void HttpStagingSink::startWriting()
{
    progress = std::make_unique<TransferProgress>(task, area.get());
    progress->begin(file->size(), openState.size);
    // Bytes of an earlier fetch do not pass here again: their sums come from the first
    // verification.
    sums = std::make_unique<BlockSums>(ContentManifest::defaultBlockBytes);
    sums->startAt(file->size());
    writer = std::make_unique<WorkBehind>([this](const QByteArray &piece) {
        const Error error = ZEL_PASS(file->append(piece.constData(), piece.size()));
        sums->add(piece.constData(), piece.size());
        progress->advance(file->size(), file->durableBytes());
        return error;
    });
}

void HttpStagingSink::stopWriting()
{
    writer.reset();
    if (progress)
        progress->end();
    progress.reset();
}

} // namespace zel
