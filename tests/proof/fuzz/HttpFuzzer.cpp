// Any bytes as the answers of a server, one connection after the other: a download ends with all
// that was promised or with its reason, and a question with an answer.
//
// The answers are divided by lines of "====". A first line "sha256=..." or "size=..." is what the
// file is expected to be.
#include "Fuzzing.h"

#include "LyingServer.h"
#include "http/HttpClient.h"
#include "references/ExpectedContent.h"

#include <limits>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace Qt::Literals::StringLiterals;

/// Keeps what comes in memory.
class MemorySink : public HttpSink
{
public:
    Result<qint64> open(const HttpRepresentation &next) override
    {
        if (next.stateKey().isEmpty() || next.stateKey() != state.stateKey())
            content.clear();
        state = next;
        return content.size();
    }
    Error startAnew() override
    {
        content.clear();
        return {};
    }
    Error write(const QByteArray &bytes) override
    {
        content += bytes;
        return {};
    }
    Error readBack(const std::function<bool(const char *data, qint64 size)> &take) override
    {
        return take(content.constData(), content.size()) ? Error() : Error(ErrorCode::Canceled);
    }

    HttpRepresentation state;
    QByteArray content;
};

HttpSettings quickSettings()
{
    HttpSettings settings;
    settings.stallTime = std::chrono::milliseconds(500);
    settings.connectTime = std::chrono::milliseconds(500);
    settings.retries = 2;
    settings.probeRetries = 1;
    settings.redirects = 3;
    settings.headBytes = 16 * 1024;
    settings.wait = [](std::chrono::milliseconds pause) {
        ZEL_MUST(pause.count() >= 0 && pause <= HttpSettings().longestWait);
    };
    return settings;
}

/// Progress that makes sense: what is here is no more than what is told to come.
HttpWatch carefulWatch()
{
    HttpWatch watch;
    watch.report = [](qint64 bytes, std::optional<qint64> total) {
        ZEL_MUST(bytes >= 0);
        ZEL_MUST(!total || *total >= 0);
    };
    return watch;
}

void download(const HttpTarget &target)
{
    MemorySink sink;
    const Error error = HttpClient(quickSettings()).download(target, &sink, carefulWatch());
    checkOutcome(error, { 1, 6 });
    if (error.hasError())
        return;
    ZEL_MUST(sink.state.size.value_or(sink.content.size()) == sink.content.size());
    ZEL_MUST(target.expected.size.value_or(sink.content.size()) == sink.content.size());
    if (!target.expected.hash.isEmpty()) {
        ZEL_MUST(QCryptographicHash::hash(sink.content, target.expected.hash.algorithm)
                 == target.expected.hash.digest);
    }
    noteOutcome(u"downloaded"_s);
}

void probe(const HttpTarget &target)
{
    const auto probed = HttpClient(quickSettings()).probe(target, carefulWatch());
    if (!probed.hasValue())
        return checkFailure(probed.error(), { 1, 6 });
    ZEL_MUST(probed.value().exists != probed.value().refusal.hasError());
    ZEL_MUST(probed.value().state.size.value_or(0) >= 0);
}

void checkHead(const QByteArray &answer)
{
    HttpHead head;
    for (const QByteArray &line : answer.split('\n'))
        head.addLine(line + '\n');
    ZEL_MUST(head.representation().size.value_or(0) >= 0);
    const auto range = head.contentRange();
    ZEL_MUST(!range || range->first >= -1);
    ZEL_MUST(head.retryAfter().value_or(std::chrono::seconds(0)).count() >= 0);
    ZEL_MUST(!head.representation().rangeValidator().contains('\n'));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static LyingServer *const server = new LyingServer;
    QByteArray text = bytesOf(data, size);
    HttpTarget target;
    const qsizetype firstLine = text.indexOf('\n');
    const auto expected = ExpectedContent::fromString(QString::fromUtf8(text.left(firstLine)));
    if (expected.hasValue()) {
        target.expected = expected.value();
        text.remove(0, firstLine + 1);
    }
    const QList<QByteArray> answers = splitAnswers(text);
    for (const QByteArray &answer : answers)
        checkHead(answer);

    target.url = HttpUrl::parse(server->url()).value();
    target.displayName = u"the file"_s;
    server->setAnswers(answers);
    download(target);
    server->setAnswers(answers);
    probe(target);
    return 0;
}
