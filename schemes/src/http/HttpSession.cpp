#include "http/HttpSession.h"

#include "errors/Propagate.h"
#include "http/HostLimiter.h"
#include "http/HttpRequest_p.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>

namespace zel {

namespace {

constexpr int cancelPollMs = 50;

struct MultiDeleter
{
    void operator()(CURLM *multi) const { curl_multi_cleanup(multi); }
};

/// Once per process, before any thread may use the library. Never undone: transfers may outlive
/// main().
CURLM *newMulti()
{
    static const bool initialized = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return initialized ? curl_multi_init() : nullptr;
}

HttpOutcome ended(HttpOutcome::End end, const QString &reason = {})
{
    HttpOutcome outcome;
    outcome.end = end;
    outcome.reason = reason;
    return outcome;
}

/// What the first server was told under encryption is not repeated in the clear; and where nothing
/// is encrypted, whoever stands between could lead to any host of the netrc file.
bool mayTakeCredentials(const HttpUrl &from, const HttpUrl &to)
{
    return to.isEncrypted() || (!from.isEncrypted() && from.hostName() == to.hostName());
}

} // namespace

bool HttpOutcome::mayPass() const
{
    return end == End::Broken || end == End::CutShort || (isAnswered() && head.isPassingTrouble());
}

bool HttpOutcome::meansAbsent() const
{
    constexpr std::array codes { 401, 403, 404, 410 };
    return isAnswered() && std::find(codes.begin(), codes.end(), head.status()) != codes.end();
}

class HttpSession::Private
{
public:
    explicit Private(const HttpSettings &settings)
        : settings(settings)
        , multi(newMulti())
    {
    }

    HttpOutcome ask(const HttpQuery &query, HttpReceiver *receiver, bool withCredentials,
                    const std::function<bool()> &isCanceled);
    /// Runs the request to its end; empty if it came to none of its own.
    std::optional<HttpOutcome> drive(HttpRequest &request, const std::function<bool()> &isCanceled);
    /// Where a redirect leads, unless it is not to be followed.
    Result<HttpUrl> targetOf(const HttpOutcome &redirect) const;

    const HttpSettings settings;
    const std::unique_ptr<CURLM, MultiDeleter> multi;
    bool hasBeenAnswered = false;
};

HttpOutcome HttpSession::Private::ask(const HttpQuery &query, HttpReceiver *receiver,
                                      bool withCredentials, const std::function<bool()> &isCanceled)
{
    std::optional<HostLimiter::Place> place;
    if (query.countsAsTransfer) {
        place = HostLimiter::enter(query.url.server(), settings.transfersPerHost, isCanceled);
        if (!place)
            return ended(HttpOutcome::End::Canceled);
    }

    HttpRequest request(query, settings, receiver, withCredentials);
    if (multi == nullptr || curl_multi_add_handle(multi.get(), request.handle()) != CURLM_OK)
        return ended(HttpOutcome::End::Hopeless, tr("the network library does not start"));
    const std::optional<HttpOutcome> given = drive(request, isCanceled);
    curl_multi_remove_handle(multi.get(), request.handle());
    hasBeenAnswered |= request.head().status() != 0;
    return given ? *given : request.outcome(hasBeenAnswered);
}

std::optional<HttpOutcome> HttpSession::Private::drive(HttpRequest &request,
                                                       const std::function<bool()> &isCanceled)
{
    int running = 1;
    while (running > 0) {
        if (curl_multi_perform(multi.get(), &running) != CURLM_OK)
            return ended(HttpOutcome::End::Hopeless, tr("the network library failed"));
        if (isCanceled())
            return ended(HttpOutcome::End::Canceled);
        if (running > 0 && request.isStalled())
            return ended(HttpOutcome::End::Broken, tr("the server has stopped sending"));
        if (running > 0)
            curl_multi_poll(multi.get(), nullptr, 0, cancelPollMs, nullptr);
    }
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(multi.get(), &left))
        request.setResult(message->data.result);
    return std::nullopt;
}

Result<HttpUrl> HttpSession::Private::targetOf(const HttpOutcome &redirect) const
{
    ZEL_TRY_LET(const HttpUrl target, redirect.url.redirected(redirect.head.header("location")));
    if (settings.staysEncrypted && redirect.url.isEncrypted() && !target.isEncrypted()) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("the server leads to an address without encryption"));
    }
    return target;
}

HttpSession::HttpSession(const HttpSettings &settings)
    : d(std::make_unique<Private>(settings))
{
}

HttpSession::~HttpSession() = default;

HttpOutcome HttpSession::exchange(HttpQuery query, HttpReceiver *receiver,
                                  const std::function<bool()> &isCanceled)
{
    bool withCredentials = true;
    for (int hops = 0;; ++hops) {
        HttpOutcome outcome = d->ask(query, receiver, withCredentials, isCanceled);
        outcome.url = query.url;
        const bool leadsOn = outcome.end == HttpOutcome::End::Answered && outcome.head.isRedirect();
        if (!leadsOn)
            return outcome;
        if (hops == d->settings.redirects)
            return ended(HttpOutcome::End::Hopeless, tr("the server redirects without end"));

        const Result<HttpUrl> next = d->targetOf(outcome);
        if (!next.hasValue())
            return ended(HttpOutcome::End::Hopeless, next.error().errorMessage());
        withCredentials &= mayTakeCredentials(query.url, next.value());
        query.url = next.value();
    }
}

} // namespace zel
