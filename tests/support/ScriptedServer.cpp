#include "ScriptedServer.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// True if the descriptor is ready for the events before the stop descriptor becomes readable.
bool readyBeforeStop(int descriptor, short events, int stopDescriptor)
{
    std::array<pollfd, 2> watched { pollfd { descriptor, events, 0 },
                                    pollfd { stopDescriptor, POLLIN, 0 } };
    while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) { }
    return watched[1].revents == 0;
}

} // namespace

QByteArray ScriptedServer::Request::header(const QByteArray &name) const
{
    const QByteArray wanted = name.toLower() + ':';
    for (const QByteArray &line : head.split('\n')) {
        if (line.toLower().startsWith(wanted))
            return line.mid(wanted.size()).trimmed();
    }
    return {};
}

ScriptedServer::Connection::Connection(int descriptor, int stopDescriptor)
    : descriptor(descriptor)
    , stopDescriptor(stopDescriptor)
{
}

bool ScriptedServer::Connection::waitFor(short events) const
{
    return readyBeforeStop(descriptor, events, stopDescriptor);
}

bool ScriptedServer::Connection::send(const QByteArray &bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        if (!waitFor(POLLOUT))
            return false;
        const ssize_t count
            = ::send(descriptor, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent),
                     MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        sent += std::max<ssize_t>(count, 0);
    }
    return true;
}

void ScriptedServer::Connection::stall()
{
    std::array<char, 4096> ignored {};
    while (waitFor(POLLIN)) {
        if (::recv(descriptor, ignored.data(), ignored.size(), 0) <= 0)
            return;
    }
}

void ScriptedServer::Connection::reset()
{
    const linger atOnce { 1, 0 };
    ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
}

bool ScriptedServer::Connection::receive(Request &request)
{
    QByteArray bytes;
    while (!bytes.contains("\r\n\r\n")) {
        if (!receiveMore(bytes))
            return false;
    }
    const qsizetype headSize = bytes.indexOf("\r\n\r\n") + 4;
    request.head = bytes.left(headSize);
    // What is not read before the connection closes would break the answer off.
    const qsizetype wholeSize = headSize + request.header("content-length").toLongLong();
    while (bytes.size() < wholeSize) {
        if (!receiveMore(bytes))
            return false;
    }
    request.body = bytes.mid(headSize);
    return true;
}

bool ScriptedServer::Connection::receiveMore(QByteArray &bytes)
{
    std::array<char, 4096> piece {};
    if (!waitFor(POLLIN))
        return false;
    const ssize_t count = ::recv(descriptor, piece.data(), piece.size(), 0);
    bytes.append(piece.data(), std::max<ssize_t>(count, 0));
    return count > 0;
}

ScriptedServer::ScriptedServer(Script script)
    : script(std::move(script))
    , stopDescriptor(::eventfd(0, EFD_CLOEXEC))
    , acceptor([this] { acceptAll(); })
{
}

ScriptedServer::~ScriptedServer()
{
    const quint64 one = 1;
    EXPECT_EQ(::write(stopDescriptor, &one, sizeof(one)), ssize_t { sizeof(one) });
    acceptor.join();
    for (std::thread &connection : connections)
        connection.join();
    ::close(stopDescriptor);
}

QString ScriptedServer::url(const QString &path) const
{
    return u"http://127.0.0.1:%1/%2"_s.arg(QString::number(port()), path);
}

QList<ScriptedServer::Request> ScriptedServer::requests() const
{
    const std::lock_guard lock(mutex);
    return received;
}

void ScriptedServer::waitForRequests(qsizetype count) const
{
    std::unique_lock lock(mutex);
    EXPECT_TRUE(arrived.wait_for(lock, std::chrono::seconds(20),
                                 [this, count] { return received.size() >= count; }));
}

QByteArray ScriptedServer::answer(const QByteArray &status, const QByteArray &headers,
                                  const QByteArray &body)
{
    return "HTTP/1.1 " + status + "\r\nConnection: close\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\n" + headers + "\r\n" + body;
}

void ScriptedServer::acceptAll()
{
    while (readyBeforeStop(socket.descriptor(), POLLIN, stopDescriptor)) {
        const int descriptor = ::accept4(socket.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor >= 0)
            connections.emplace_back([this, descriptor] { serve(descriptor); });
    }
}

void ScriptedServer::serve(int descriptor)
{
    Connection connection(descriptor, stopDescriptor);
    Request request;
    const bool came = connection.receive(request);
    const QList<QByteArray> words = request.head.split('\n').constFirst().trimmed().split(' ');
    if (came && words.size() == 3) {
        request.method = words[0];
        request.target = words[1];
        {
            const std::lock_guard lock(mutex);
            received.append(request);
        }
        arrived.notify_all();
        script(request, connection);
    }
    ::close(descriptor);
}

} // namespace zel::test
