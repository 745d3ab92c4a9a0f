#include "LyingServer.h"

#include "Fuzzing.h"

#include <array>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel::fuzz {

namespace {

/// How long a client may take for its question, and for reading the answer.
constexpr int patience = 1000; // ms

/// False at the end of the connection or of the patience.
bool readSome(int connection, QByteArray &bytes)
{
    pollfd waiting { connection, POLLIN, 0 };
    std::array<char, 4096> buffer {};
    if (::poll(&waiting, 1, patience) <= 0)
        return false;
    const ssize_t count = ::recv(connection, buffer.data(), buffer.size(), 0);
    if (count > 0)
        bytes.append(buffer.data(), count);
    return count > 0;
}

/// One that wants to talk in secret (the first byte of TLS) gets its answer without a question.
void readQuestion(int connection)
{
    QByteArray question;
    while (!question.contains("\r\n\r\n") && !question.startsWith('\x16')) {
        if (!readSome(connection, question))
            return;
    }
}

void answerTo(int connection, const QByteArray &answer)
{
    readQuestion(connection);
    ::send(connection, answer.constData(), size_t(answer.size()), MSG_NOSIGNAL);
    ::shutdown(connection, SHUT_WR);
    // Closed before the client has read all, the end of the answer might not reach it.
    QByteArray rest;
    while (readSome(connection, rest)) { }
    ::close(connection);
}

} // namespace

QList<QByteArray> splitAnswers(const QByteArray &text)
{
    const QByteArray divider = "\n====\n";
    QList<QByteArray> answers;
    qsizetype start = 0;
    for (qsizetype end = 0; (end = text.indexOf(divider, start)) >= 0; start = end + divider.size())
        answers << text.mid(start, end - start);
    return answers << text.mid(start);
}

LyingServer::LyingServer()
    : listener(::socket(AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto *const raw = reinterpret_cast<sockaddr *>(&address);
    ZEL_MUST(::bind(listener, raw, length) == 0 && ::listen(listener, 16) == 0);
    ZEL_MUST(::getsockname(listener, raw, &length) == 0);
    port = ntohs(address.sin_port);
    thread = std::thread([this] { serve(); });
}

QByteArray LyingServer::url() const
{
    return "http://127.0.0.1:" + QByteArray::number(port) + "/data/file.raw";
}

void LyingServer::setAnswers(const QList<QByteArray> &next)
{
    const std::lock_guard lock(mutex);
    answers = next;
}

QByteArray LyingServer::takeAnswer()
{
    const std::lock_guard lock(mutex);
    return answers.isEmpty() ? QByteArray() : answers.takeFirst();
}

void LyingServer::serve()
{
    while (true) {
        const int connection = ::accept(listener, nullptr, nullptr);
        if (connection >= 0)
            answerTo(connection, takeAnswer());
    }
}

} // namespace zel::fuzz
