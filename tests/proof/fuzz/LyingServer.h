#pragma once

#include <QByteArray>
#include <QList>

#include <mutex>
#include <thread>

namespace zel::fuzz {

/// What stands between lines of "====".
QList<QByteArray> splitAnswers(const QByteArray &text);

/// A server on the loopback device that sends one of its answers to each connection, whatever is
/// asked, and closes it. When it has none left, it closes the connection without a word. It lives
/// as long as the process.
class LyingServer
{
public:
    LyingServer();

    QByteArray url() const;
    void setAnswers(const QList<QByteArray> &next);

private:
    void serve();
    QByteArray takeAnswer();

    int listener = -1;
    int port = 0;
    std::mutex mutex;
    QList<QByteArray> answers;
    std::thread thread;
};

} // namespace zel::fuzz
