#pragma once

#include "ScriptedServer.h"
#include "http/HttpClient.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <vector>

namespace zel::test {

/// A sink that is a file. It can be told that bytes of some state lie in it already.
class FileSink : public HttpSink
{
public:
    FileSink();

    /// As if an earlier attempt had left this much of the state.
    void leave(const QString &stateKey, const QByteArray &bytes);
    QByteArray content() const;
    qint64 size() const { return file.size(); }

    Result<qint64> open(const HttpRepresentation &state) override;
    Error startAnew() override;
    Error write(const QByteArray &bytes) override;
    Error readBack(const std::function<bool(const char *data, qint64 size)> &take) override;

    QList<QString> openedStates;
    int fresh = 0; ///< how often all bytes were forgotten
    Error writeFailure;
    int failedWrites = 0;

private:
    QTemporaryDir directory;
    QFile file;
    QString keptState;
};

/// Settings with which waits between tries take no time: they are noted instead.
class QuickSettings : public HttpSettings
{
public:
    QuickSettings();

    /// For servers that fall silent on purpose. Any other may be held up on a busy machine, and is
    /// waited for as patiently as by those who use the library.
    void giveUpSoon();

    std::shared_ptr<std::vector<std::chrono::milliseconds>> waits;
};

/// Within which a cancellation must be seen; instrumented programs are slower.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr std::chrono::milliseconds cancelLimit { 2000 };
#else
constexpr std::chrono::milliseconds cancelLimit { 200 };
#endif

/// Something that takes long.
struct LongWork
{
    std::function<void()> start; ///< lets the server be asked
    std::function<void()> cancel; ///< waits for its end as well
};
/// Whether the work ends within the limit, at whichever moment after its server was asked it is
/// canceled. Each moment that was late is tried once more: a busy machine may have held it up.
testing::AssertionResult endsSoonOnceCanceled(const LongWork &work, const ScriptedServer &server);

HttpTarget targetOf(const QString &url);
HttpTarget targetWithSha256(const QString &url, const QByteArray &content);

/// Bytes that differ everywhere, so that a wrong offset shows.
QByteArray pattern(qsizetype size);

} // namespace zel::test
