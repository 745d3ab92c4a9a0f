#include "folder/FolderRetrieval.h"

#include "SchemeErrors.h"
#include "Task.h"
#include "errors/Propagate.h"
#include "folder/FolderFileSink.h"
#include "folder/FolderStaging.h"
#include "folder/FolderWorkers.h"
#include "folder/RemoteSizes.h"
#include "http/HttpDownload_p.h"
#include "staging/StagingCleaner.h"
#include "staging/TransferProgress.h"

#include <atomic>
#include <vector>

namespace zel {

FolderRetrieval::FolderRetrieval(Task *task, const FetchPlan &plan, Lister lister,
                                 const HttpSettings &settings)
    : task(task)
    , plan(plan)
    , lister(std::move(lister))
    , settings(settings)
{
}

FolderRetrieval::~FolderRetrieval() = default;

Error FolderRetrieval::run()
{
    const Error error = copy();
    if (staging)
        staging->giveRoomBack(error);
    return ZEL_PASS(error);
}

Error FolderRetrieval::copy()
{
    Error error;
    StagingCleaner::removeStaleBeforeFetch(plan);
    ZEL_TRY_LET(listing, lister([this] { return isCanceled(); }));
    ZEL_TRY_LET(sizes, RemoteSizes::of(listing, plan.displayText, settings, [this] {
                    return isCanceled();
                }));
    // Nobody can go on from files of which nothing says that they are still the same.
    ZEL_TRY_LET(auto area,
                StagingArea::open(plan, listing.tellsStates() ? listing.validator() : QString()));
    staging = std::make_unique<FolderStaging>(std::move(area), listing);

    ZEL_TRY(error, collect());
    ZEL_TRY(error, checkUnchanged());
    ZEL_TRY(error, staging->checkWhole());
    return ZEL_PASS(staging->publish());
}

Error FolderRetrieval::collect()
{
    Error error;
    ZEL_TRY(error, staging->prepare(sizes));
    std::vector<Piece> pieces;
    qint64 begun = 0;
    qint64 missing = 0;
    qint64 total = 0;
    for (const auto &[path, file] : listing.files()) {
        const auto size = sizes.find(path);
        total += size == sizes.end() ? 0 : size->second;
        if (const auto whole = staging->wholeSize(path)) {
            begun += *whole;
            continue;
        }
        pieces.push_back({ &file, staging->begunBytes(path) });
        begun += pieces.back().begun;
        missing += size == sizes.end() ? 0 : size->second - pieces.back().begun;
    }
    const bool isTotalKnown = sizes.size() == listing.files().size();
    ZEL_TRY(error, staging->area().requireSpace(missing));
    done = begun;
    return ZEL_PASS(fetchAll(pieces, isTotalKnown ? std::optional(total) : std::nullopt));
}

Error FolderRetrieval::fetchAll(const std::vector<Piece> &pieces, std::optional<qint64> total)
{
    TransferProgress progress(task, &staging->area());
    progress.begin(done, total);
    // What is on the disk for sure is known at the end only.
    const auto tell = [&] {
        progress.advance(done, 0);
    };
    const Error error = FolderWorkers::run(
        pieces.size(), settings, [this] { return isCanceled(); },
        [&](size_t index, HttpSession &session, const auto &shallStop) {
            return ZEL_PASS(fetch(pieces[index], session, shallStop));
        },
        tell);
    tell();
    progress.end();
    return ZEL_PASS(error);
}

Error FolderRetrieval::fetch(const Piece &piece, HttpSession &session,
                             const std::function<bool()> &shallStop)
{
    Error error;
    HttpTarget target { piece.file->url, plan.displayText + u'/' + piece.file->path, {} };
    target.expected.hash = piece.file->hash;
    if (const auto size = sizes.find(piece.file->path); size != sizes.end())
        target.expected.size = size->second;
    HttpWatch watch;
    watch.isCanceled = shallStop;

    FolderFileSink sink(staging.get(), *piece.file, &done, piece.begun);
    ZEL_TRY(error, HttpDownload(target, settings, &sink, watch, session).run());
    return ZEL_PASS(sink.finish());
}

Error FolderRetrieval::checkUnchanged()
{
    ZEL_TRY_LET(const RemoteListing now, lister([this] { return isCanceled(); }));
    if (now.validator() == listing.validator())
        return {};
    ZEL_DROP(staging->area().clear()); // of no use to anybody
    return ZEL_PASS(sourceChanged());
}

Error FolderRetrieval::sourceChanged() const
{
    return ZEL_ERROR(SchemeErrors::integrityFailure,
                     tr("%1 changed while it was fetched.").arg(plan.displayText));
}

bool FolderRetrieval::isCanceled() const
{
    return task->isCanceled();
}

} // namespace zel
