#include "http/HttpClient.h"

#include "errors/Propagate.h"
#include "http/HttpDownload_p.h"
#include "http/HttpFailure.h"
#include "http/HttpRetry.h"

#include <algorithm>
#include <array>

namespace zel {

namespace {

/// Has enough of a body when it begins.
class HeadReader : public HttpReceiver
{
public:
    bool begin(const HttpHead &) override { return false; }
    bool receive(const char *, qint64) override { return false; }
};

/// A server that does not serve HEAD says so in one of these ways; an address that is signed for
/// GET says 403.
bool refusesHead(int status)
{
    constexpr std::array codes { 400, 403, 405, 501 };
    return std::find(codes.begin(), codes.end(), status) != codes.end();
}

/// Of the request for one byte a file without any refuses the range and tells its size, 0.
bool isPresent(const HttpOutcome &outcome)
{
    using End = HttpOutcome::End;
    const int status = outcome.head.status();
    const auto range = outcome.head.contentRange();
    const bool empty = status == 416 && range && range->total == 0;
    return (outcome.end == End::Answered || outcome.end == End::Stopped)
        && (status == 200 || status == 206 || empty);
}

/// Asks until there is an answer that stands.
HttpOutcome ask(HttpSession &session, const HttpQuery &query, const HttpSettings &settings,
                const HttpWatch &watch)
{
    HttpRetry retry(settings, settings.probeRetries, watch.isCanceled);
    HeadReader reader;
    for (;;) {
        HttpOutcome outcome = session.exchange(query, &reader, watch.isCanceled);
        if (!outcome.mayPass())
            return outcome;
        if (!retry.waitForNext(outcome.head)) {
            if (watch.isCanceled())
                outcome.end = HttpOutcome::End::Canceled;
            return outcome;
        }
    }
}

} // namespace

HttpClient::HttpClient(const HttpSettings &settings)
    : settings(settings)
{
}

Result<HttpProbe> HttpClient::probe(const HttpTarget &target, const HttpWatch &watch) const
{
    HttpSession session(settings);
    return ZEL_PASS(probe(target, watch, session));
}

Result<HttpProbe> HttpClient::probe(const HttpTarget &target, const HttpWatch &watch,
                                    HttpSession &session) const
{
    HttpQuery query;
    query.url = target.url;
    query.countsAsTransfer = false;
    query.method = HttpQuery::Method::Head;
    HttpOutcome outcome = ask(session, query, settings, watch);
    if (outcome.isAnswered() && refusesHead(outcome.head.status())) {
        query.method = HttpQuery::Method::Get;
        query.range = "bytes=0-0";
        outcome = ask(session, query, settings, watch);
    }

    HttpProbe probe;
    probe.exists = isPresent(outcome);
    if (probe.exists) {
        probe.state = outcome.head.representation();
        return probe;
    }
    probe.refusal = HttpFailure::of(outcome, target.url, target.displayName);
    if (outcome.meansAbsent())
        return probe;
    return ZEL_PASS(Result<HttpProbe>(probe.refusal));
}

Error HttpClient::download(const HttpTarget &target, HttpSink *sink, const HttpWatch &watch) const
{
    HttpSession session(settings);
    HttpDownload download(target, settings, sink, watch, session);
    return ZEL_PASS(download.run());
}

} // namespace zel
