#include "HttpTestSupport.h"

#include <QElapsedTimer>

#include <algorithm>
#include <thread>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

std::chrono::milliseconds timeToCancel(const LongWork &work, const ScriptedServer &server,
                                       std::chrono::milliseconds later)
{
    const qsizetype askedBefore = server.requests().size();
    work.start();
    server.waitForRequests(askedBefore + 1);
    std::this_thread::sleep_for(later);
    QElapsedTimer timer;
    timer.start();
    work.cancel();
    return std::chrono::milliseconds(timer.elapsed());
}

std::chrono::milliseconds bestOfTwo(const LongWork &work, const ScriptedServer &server,
                                    std::chrono::milliseconds later)
{
    const std::chrono::milliseconds first = timeToCancel(work, server, later);
    return first < cancelLimit ? first : std::min(first, timeToCancel(work, server, later));
}

} // namespace

FileSink::FileSink()
    : file(directory.filePath(u"staged"_s))
{
    EXPECT_TRUE(file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
}

void FileSink::leave(const QString &stateKey, const QByteArray &bytes)
{
    keptState = stateKey;
    EXPECT_TRUE(file.resize(0));
    EXPECT_FALSE(write(bytes).hasError());
}

QByteArray FileSink::content() const
{
    QFile copy(file.fileName());
    EXPECT_TRUE(copy.open(QIODevice::ReadOnly));
    return copy.readAll();
}

Result<qint64> FileSink::open(const HttpRepresentation &state)
{
    openedStates.append(state.stateKey());
    if (state.stateKey().isEmpty() || state.stateKey() != keptState) {
        keptState = state.stateKey();
        file.resize(0);
    }
    return file.size();
}

Error FileSink::startAnew()
{
    ++fresh;
    return file.resize(0) ? Error() : Error(1);
}

Error FileSink::write(const QByteArray &bytes)
{
    if (writeFailure.hasError()) {
        ++failedWrites;
        return writeFailure;
    }
    return file.seek(file.size()) && file.write(bytes) == bytes.size() ? Error() : Error(1);
}

Error FileSink::readBack(const std::function<bool(const char *data, qint64 size)> &take)
{
    const QByteArray bytes = content();
    return take(bytes.constData(), bytes.size()) ? Error() : Error(ErrorCode::Canceled);
}

QuickSettings::QuickSettings()
    : waits(std::make_shared<std::vector<std::chrono::milliseconds>>())
{
    wait = [list = waits](std::chrono::milliseconds time) {
        list->push_back(time);
    };
    netrcFile = QString();
}

void QuickSettings::giveUpSoon()
{
    stallTime = std::chrono::milliseconds(1500);
}

testing::AssertionResult endsSoonOnceCanceled(const LongWork &work, const ScriptedServer &server)
{
    using namespace std::chrono_literals;
    for (auto later = 0ms; later < 320ms; later += 40ms) {
        const std::chrono::milliseconds best = bestOfTwo(work, server, later);
        if (best >= cancelLimit)
            return testing::AssertionFailure() << "canceled after " << later.count()
                                               << " ms, it took " << best.count() << " ms to end";
    }
    return testing::AssertionSuccess();
}

HttpTarget targetOf(const QString &url)
{
    const Result<HttpUrl> parsed = HttpUrl::parse(url.toUtf8());
    EXPECT_TRUE(parsed.hasValue()) << qPrintable(url);
    HttpTarget target;
    target.url = parsed.value();
    target.displayName = u"the file"_s;
    return target;
}

HttpTarget targetWithSha256(const QString &url, const QByteArray &content)
{
    HttpTarget target = targetOf(url);
    target.expected.hash.algorithm = QCryptographicHash::Sha256;
    target.expected.hash.digest = QCryptographicHash::hash(content, QCryptographicHash::Sha256);
    return target;
}

QByteArray pattern(qsizetype size)
{
    QByteArray bytes(size, '\0');
    quint32 state = 1;
    for (char &byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

} // namespace zel::test
