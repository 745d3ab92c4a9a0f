#include "http/HttpDownload_p.h"

#include "SchemeErrors.h"
#include "errors/Propagate.h"
#include "http/HttpFailure.h"
#include "http/HttpRetry.h"

#include <algorithm>
#include <utility>

namespace zel {

namespace {

/// What is gathered before it is written: few calls, and it stays in the processor's cache.
constexpr qsizetype writeSize = 256 * 1024;
/// A file that is another one each time it is looked at cannot be fetched.
constexpr int mostStates = 4;

} // namespace

HttpDownload::HttpDownload(const HttpTarget &target, const HttpSettings &settings, HttpSink *sink,
                           const HttpWatch &watch, HttpSession &session)
    : target(target)
    , settings(settings)
    , sink(sink)
    , watch(watch)
    , session(session)
    , check(target.expected)
{
    buffer.reserve(writeSize);
}

Error HttpDownload::run()
{
    HttpRetry retry(settings, settings.retries, watch.isCanceled);
    for (;;) {
        Error error;
        ZEL_TRY(error, catchUpWithCheck());
        const HttpOutcome outcome = exchange();
        Next next = judge(outcome);
        if (next == Next::AllIsHere)
            next = judgeWhole();
        if (next == Next::Finished)
            return error;
        if (next == Next::GivenUp)
            return ZEL_PASS(lastFailure);
        if (next == Next::AfterAWait)
            ZEL_TRY(error, waitForNext(retry, outcome.head));
    }
}

HttpOutcome HttpDownload::exchange()
{
    const HttpQuery query = nextQuery();
    attempt = Attempt();
    attempt.asksForRest = !query.range.isEmpty();
    return session.exchange(query, this, watch.isCanceled);
}

Error HttpDownload::waitForNext(HttpRetry &retry, const HttpHead &head)
{
    if (have > mostHad)
        retry.succeeded();
    mostHad = std::max(mostHad, have);
    if (retry.waitForNext(head))
        return {};
    return watch.isCanceled() ? HttpFailure::canceled(target.displayName) : lastFailure;
}

HttpQuery HttpDownload::nextQuery() const
{
    HttpQuery query;
    query.url = target.url;
    const QByteArray validator = state.rangeValidator();
    if (opened && have > 0 && !validator.isEmpty() && !rangesFail) {
        query.range = "bytes=" + QByteArray::number(have) + '-';
        query.ifRange = validator;
    }
    return query;
}

HttpDownload::Next HttpDownload::judge(const HttpOutcome &outcome)
{
    using End = HttpOutcome::End;
    // Whatever broke off: what came is kept.
    if (const Error error = flush(); error.hasError())
        return failedForGood(error);
    if (attempt.fault.hasError())
        return failedForGood(attempt.fault);
    if (outcome.end == End::Canceled)
        return failedForGood(HttpFailure::canceled(target.displayName));
    if (attempt.askAgain)
        return Next::AtOnce;
    if (isComplete())
        return Next::AllIsHere;
    if (outcome.end == End::Answered)
        return judgeAnswer(outcome);

    const Error reason = HttpFailure::of(outcome, target.url, target.displayName);
    return outcome.end == End::Hopeless ? failedForGood(reason) : failedForNow(reason);
}

HttpDownload::Next HttpDownload::judgeAnswer(const HttpOutcome &outcome)
{
    const int status = outcome.head.status();
    if (status == 416)
        return judgeUnmetRange(outcome.head);
    if (status != 200 && status != 206) {
        const Error reason = HttpFailure::of(outcome, target.url, target.displayName);
        return outcome.head.isPassingTrouble() ? failedForNow(reason) : failedForGood(reason);
    }
    // The whole answer came, but for a size that was announced elsewhere.
    const std::optional<qint64> size = toldSize();
    if (!size)
        return Next::AllIsHere;
    return failedForNow(
        failure(SchemeErrors::integrityFailure, tr("%1 of %2 bytes came").arg(have).arg(*size)));
}

HttpDownload::Next HttpDownload::judgeUnmetRange(const HttpHead &head)
{
    // Asked for the bytes behind the last one: right if the file ends there.
    const auto range = head.contentRange();
    if (opened && range && range->total == have && (!state.size || *state.size == have))
        return Next::AllIsHere;
    if (const Error error = startAnew(); error.hasError())
        return failedForGood(error);
    rangesFail = true;
    return failedForNow(failure(static_cast<int>(ErrorCode::OperationFailed),
                                tr("the server refuses to send the rest of the file")));
}

HttpDownload::Next HttpDownload::judgeWhole()
{
    if (const Error error = catchUpWithCheck(); error.hasError())
        return failedForGood(error);
    const Error wrong = check.verify(have);
    if (!wrong.hasError())
        return Next::Finished;
    // Bytes of an earlier attempt may have been damaged since: then all come once more.
    const bool mayBeOurFault = continuesEarlierBytes;
    // Nobody is to go on from these. What cannot be dropped would come to stand before the others.
    if (const Error error = startAnew(); error.hasError())
        return failedForGood(error);
    return mayBeOurFault
        ? Next::AtOnce
        : failedForGood(failure(static_cast<int>(wrong.errorCode()), wrong.errorMessage()));
}

HttpDownload::Next HttpDownload::failedForNow(const Error &reason)
{
    lastFailure = reason;
    return Next::AfterAWait;
}

HttpDownload::Next HttpDownload::failedForGood(const Error &reason)
{
    lastFailure = reason;
    return Next::GivenUp;
}

bool HttpDownload::begin(const HttpHead &head)
{
    const bool goesOn = head.status() == 206 ? beginRest(head) : beginWhole(head);
    if (goesOn)
        watch.report(have, state.size);
    return goesOn;
}

bool HttpDownload::beginWhole(const HttpHead &head)
{
    const HttpRepresentation found = head.representation();
    const std::optional<qint64> promised = target.expected.size;
    const bool wrongSize = promised && found.size && *found.size != *promised;
    if (wrongSize) {
        attempt.fault
            = failure(SchemeErrors::integrityFailure,
                      tr("the file has %1 bytes instead of %2").arg(*found.size).arg(*promised));
        return false;
    }
    const bool isNews = !opened || !found.isSameAs(state);
    if (isNews && !open(found))
        return false;
    if (have == 0)
        return true;
    if (isComplete())
        return false;
    // There are bytes of an earlier attempt: the rest is enough. A server that was asked for the
    // rest and sends everything does not do better when asked again.
    attempt.askAgain = isNews && !nextQuery().range.isEmpty() && !found.refusesRanges;
    if (attempt.askAgain)
        return false;
    attempt.fault = startAnew();
    return !attempt.fault.hasError();
}

bool HttpDownload::beginRest(const HttpHead &head)
{
    const auto range = head.contentRange();
    const std::optional<qint64> size = state.size ? state.size : target.expected.size;
    const bool fits = attempt.asksForRest && range && range->first == have
        && (!range->total || !size || *range->total == *size)
        && head.representation().mayBelongTo(state);
    if (fits) {
        attempt.total = range->total;
        return true;
    }
    if (!attempt.asksForRest) {
        attempt.fault = failure(static_cast<int>(ErrorCode::OperationFailed),
                                tr("the server sends a part of the file that was not asked for"));
        return false;
    }
    // Joined to what is here it would make a file that never was.
    rangesFail = true;
    attempt.fault = startAnew();
    attempt.askAgain = !attempt.fault.hasError();
    return false;
}

bool HttpDownload::receive(const char *data, qint64 size)
{
    // An answer that announces no size may have no end.
    const std::optional<qint64> told = toldSize();
    const std::optional<qint64> most = told ? told : target.expected.size;
    if (most && have + buffer.size() + size > *most) {
        attempt.fault
            = failure(SchemeErrors::integrityFailure, tr("more bytes came than were announced"));
        return false;
    }
    if (buffer.isEmpty())
        gathering.setRemainingTime(settings.gatherTime);
    buffer.append(data, size);
    // With room for another piece of this size the buffer does not grow.
    if (buffer.size() + size <= writeSize && !gathering.hasExpired())
        return true;
    attempt.fault = flush();
    return !attempt.fault.hasError();
}

bool HttpDownload::open(const HttpRepresentation &found)
{
    // Without a validator every answer is another state for all we know.
    const bool known = !found.rangeValidator().isEmpty();
    statesSeen += known ? 1 : 0;
    if (statesSeen > mostStates) {
        attempt.fault = failure(SchemeErrors::integrityFailure,
                                tr("the file changes while it is being fetched"));
        return false;
    }
    const Result<qint64> present = sink->open(found);
    if (!present.hasValue()) {
        attempt.fault = ZEL_PASS(present).error();
        return false;
    }
    state = found;
    opened = true;
    have = present.value();
    continuesEarlierBytes = have > 0;
    if (known)
        mostHad = have;
    check.reset();
    checked = 0;
    return true;
}

Error HttpDownload::startAnew()
{
    Error error;
    buffer.clear();
    if (opened)
        ZEL_TRY(error, sink->startAnew());
    check.reset();
    checked = 0;
    have = 0;
    continuesEarlierBytes = false;
    return error;
}

Error HttpDownload::flush()
{
    if (buffer.isEmpty())
        return {};
    Error error;
    // Asked before the two below take the locks under which the former buffers are given back: only
    // behind those is a buffer that is free also read to its end, in the order of this thread.
    const bool isOneFree = !handedOut.empty() && handedOut.front().isDetached();
    error = ZEL_PASS(sink->write(buffer));
    if (error.hasError()) {
        // The sink may have dropped what came before these: nothing may follow.
        buffer.clear();
        return error;
    }
    // All that is here has passed before: see catchUpWithCheck().
    check.addBytes(buffer);
    checked += buffer.size();
    have += buffer.size();
    takeAnotherBuffer(isOneFree);
    watch.report(have, state.size);
    return error;
}

/// The sink and the check may still hold this one. One that they have given back spares the system
/// to find fresh memory, and to clear it.
void HttpDownload::takeAnotherBuffer(bool isOneFree)
{
    handedOut.push_back(std::exchange(buffer, {}));
    if (isOneFree) {
        buffer = std::move(handedOut.front());
        handedOut.pop_front();
        buffer.resize(0); // keeps the memory
    }
    buffer.reserve(writeSize);
}

Error HttpDownload::catchUpWithCheck()
{
    if (!check.needsBytes() || checked == have)
        return {};
    check.reset();
    checked = 0;
    const Error error = sink->readBack([this](const char *data, qint64 size) {
        check.addBytes(QByteArray(data, size));
        checked += size;
        return !watch.isCanceled();
    });
    return watch.isCanceled() ? HttpFailure::canceled(target.displayName) : ZEL_PASS(error);
}

Error HttpDownload::failure(int code, const QString &what) const
{
    return HttpFailure::make(code, target.displayName, what);
}

} // namespace zel
