#include "dav/DavClient.h"

#include "errors/Propagate.h"
#include "http/HttpFailure.h"
#include "http/HttpRetry.h"

#include <QSet>

#include <algorithm>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Some hundred bytes tell of a file; this is room for all that a folder may have.
constexpr qint64 mostBytes = 256ll * 1024 * 1024;
/// What tells of nothing ends sooner.
constexpr qint64 mostBytesOfResource = 16ll * 1024;
constexpr qint64 mostBytesOfNothing = 1024ll * 1024;

constexpr auto question = R"(<?xml version="1.0" encoding="utf-8"?>
<propfind xmlns="DAV:"><prop>)"
                          "<resourcetype/><getcontentlength/><getetag/><getlastmodified/>"
                          "</prop></propfind>\n";

/// Reads the list as it comes.
class ListReceiver : public HttpReceiver
{
    Q_DECLARE_TR_FUNCTIONS(zel::DavClient)

public:
    bool begin(const HttpHead &head) override
    {
        // A page for people, say, that a login puts in front of everything.
        const QByteArray type = head.header("content-type").toLower();
        if (type.isEmpty() || type.contains("xml"))
            return true;
        fault = Error(ErrorCode::BadData,
                      tr("the server sends \"%1\" instead of a list")
                          .arg(HttpFailure::oneLine(type.split(';').constFirst(), {})));
        return false;
    }

    bool receive(const char *data, qint64 size) override
    {
        bytes += size;
        if (!reader.add(data, size))
            return false;
        const auto count = static_cast<qint64>(resources().size());
        if (bytes > std::min(mostBytes, mostBytesOfNothing + count * mostBytesOfResource))
            fault = Error(ErrorCode::BadData, tr("the server's list is too long"));
        return !fault.hasError();
    }

    Error end() { return fault.hasError() ? fault : reader.finish(); }
    /// Whether it was this that ended the answer.
    bool hasRefused() const { return fault.hasError() || reader.failure().hasError(); }
    const std::vector<DavProperties> &resources() const { return reader.resources(); }

private:
    PropfindReader reader;
    Error fault;
    qint64 bytes = 0;
};

} // namespace

DavClient::DavClient(const HttpSettings &settings, const QString &displayName,
                     const HttpWatch &watch)
    : settings(settings)
    , displayName(displayName)
    , watch(watch)
    , session(settings)
{
}

Result<DavProbe> DavClient::describe(const HttpUrl &url)
{
    const Answer answer = ask(url, "0");
    DavProbe probe;
    probe.refusal = refusalOf(answer);
    if (!probe.refusal.hasError()) {
        ZEL_TRY_LET(probe.resource, resourceAsked(answer));
        probe.exists = true;
        return probe;
    }
    if (answer.outcome.meansAbsent())
        return probe;
    return ZEL_PASS(Result<DavProbe>(probe.refusal));
}

Result<std::vector<DavResource>> DavClient::list(const DavCollection &folder)
{
    ZEL_TRY_LET(const HttpUrl url, folder.folder());
    const Answer answer = ask(url, "1");
    if (const Error refusal = refusalOf(answer); refusal.hasError())
        return ZEL_PASS(refusal);
    return ZEL_PASS(membersOf(answer));
}

/// Asks until there is an answer that stands.
DavClient::Answer DavClient::ask(const HttpUrl &url, const QByteArray &depth)
{
    HttpQuery query;
    query.method = HttpQuery::Method::Propfind;
    query.url = url;
    query.headers = { "Depth: " + depth, "Content-Type: application/xml; charset=\"utf-8\"" };
    query.body = question;
    // A person may be waiting for the answer about one resource, behind long transfers.
    const bool isForOne = depth == "0";
    query.countsAsTransfer = !isForOne;

    HttpRetry retry(settings, isForOne ? settings.probeRetries : settings.retries,
                    watch.isCanceled);
    for (;;) {
        Answer answer = askOnce(query);
        if (!answer.outcome.mayPass() || !retry.waitForNext(answer.outcome.head)) {
            if (watch.isCanceled())
                answer.outcome.end = HttpOutcome::End::Canceled;
            return answer;
        }
    }
}

DavClient::Answer DavClient::askOnce(HttpQuery query)
{
    ListReceiver receiver;
    Answer answer;
    answer.outcome = session.exchange(std::move(query), &receiver, watch.isCanceled);
    const bool isList = answer.outcome.isAnswered() && answer.outcome.head.status() == 207;
    if (isList || receiver.hasRefused())
        answer.fault = receiver.end();
    if (isList)
        answer.resources = receiver.resources();
    return answer;
}

Error DavClient::refusalOf(const Answer &answer) const
{
    const HttpOutcome &outcome = answer.outcome;
    if (outcome.end == HttpOutcome::End::Canceled)
        return HttpFailure::canceled(displayName);
    if (answer.fault.hasError())
        return failure(int(answer.fault.errorCode()), answer.fault.errorMessage());
    if (!outcome.isAnswered())
        return HttpFailure::of(outcome, outcome.url, displayName);

    const QString status
        = HttpFailure::oneLine(outcome.head.statusText().toUtf8(), outcome.url.secrets());
    const auto told = [&](const QString &meaning) {
        return failure(int(ErrorCode::OperationFailed),
                       tr("the server answered %1: %2").arg(status, meaning));
    };
    switch (outcome.head.status()) {
    case 207:
        return {};
    case 401:
        return told(tr("it asks for a user name and a password, which belong into ~/.netrc"));
    case 403:
        return told(tr("it does not permit this"));
    case 404:
    case 410:
        return told(tr("nothing lies there"));
    case 200:
    case 405:
    case 501:
        return told(tr("it does not speak WebDAV there"));
    default:
        return HttpFailure::of(outcome, outcome.url, displayName);
    }
}

Result<DavResource> DavClient::resourceAsked(const Answer &answer) const
{
    const Result<DavCollection> asked = DavCollection::at(answer.outcome.url);
    for (const DavProperties &properties : answer.resources) {
        const Result<QString> name = asked.hasValue() ? asked.value().memberName(properties.href)
                                                      : Result<QString>(asked.error());
        if (!name.hasValue())
            return ZEL_PASS(failure(int(ErrorCode::BadData), name.error().errorMessage()));
        if (!name.value().isEmpty())
            continue;
        if (properties.isRefused())
            return ZEL_PASS(unlisted(properties, answer.outcome.url));
        DavResource resource = resourceOf(properties, answer.outcome);
        resource.url = answer.outcome.url;
        return resource;
    }
    return ZEL_PASS(
        failure(int(ErrorCode::BadData), tr("the server tells nothing of what it was asked")));
}

Result<std::vector<DavResource>> DavClient::membersOf(const Answer &answer) const
{
    const auto misled = [this](const Error &error) {
        return failure(int(ErrorCode::BadData), error.errorMessage());
    };
    const Result<DavCollection> folder = DavCollection::at(answer.outcome.url);
    if (!folder.hasValue())
        return ZEL_PASS(misled(folder.error()));
    std::vector<DavResource> members;
    QSet<QString> names;
    for (const DavProperties &properties : answer.resources) {
        const Result<QString> name = folder.value().memberName(properties.href);
        if (!name.hasValue())
            return ZEL_PASS(misled(name.error()));
        if (properties.isRefused())
            return ZEL_PASS(unlisted(properties, answer.outcome.url));
        if (names.contains(name.value())) {
            return ZEL_PASS(failure(int(ErrorCode::BadData),
                                    tr("the server lists \"%1\" twice")
                                        .arg(HttpFailure::oneLine(name.value().toUtf8(), {}))));
        }
        names.insert(name.value());
        if (name.value().isEmpty())
            continue;
        DavResource member = resourceOf(properties, answer.outcome);
        member.name = name.value();
        ZEL_TRY_LET(member.url, folder.value().member(member.name, member.isFolder));
        members.push_back(std::move(member));
    }
    return members;
}

DavResource DavClient::resourceOf(const DavProperties &properties, const HttpOutcome &outcome)
{
    DavResource resource;
    resource.isFolder = properties.isCollection;
    if (resource.isFolder)
        return resource;
    resource.state.size = properties.size;
    resource.state.etag = properties.etag;
    resource.state.lastModified = properties.lastModified;
    resource.state.date = outcome.head.representation().date;
    return resource;
}

Error DavClient::unlisted(const DavProperties &properties, const HttpUrl &url) const
{
    return failure(int(ErrorCode::OperationFailed),
                   tr("the server does not tell of \"%1\": %2")
                       .arg(HttpFailure::oneLine(properties.href.toUtf8(), url.secrets()),
                            HttpFailure::oneLine(properties.refusal.toUtf8(), url.secrets())));
}

Error DavClient::failure(int code, const QString &what) const
{
    return HttpFailure::make(code, displayName, what);
}

} // namespace zel
