#include "HttpTestSupport.h"

#include <gtest/gtest.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

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

bool areSeenInTime(const TimeToCancel &timeToCancel)
{
    int late = 0;
    for (int attempt = 0; attempt < 8; ++attempt)
        late += timeToCancel(attempt * std::chrono::milliseconds(40)) < cancelLimit ? 0 : 1;
    return late <= 2;
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
