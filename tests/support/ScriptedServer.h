#pragma once

#include "LoopbackSocket.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace zel::test {

/// A server that answers with exactly the bytes that a test's script writes, so that it can lie,
/// stall and break off as no decent server would.
///
/// Every connection carries one request and has a thread of its own, in which the script runs;
/// afterwards the connection is closed. The destructor ends all scripts that wait or send.
class ScriptedServer
{
public:
    struct Request
    {
        QByteArray method;
        QByteArray target;
        QByteArray head; ///< everything up to the empty line
        QByteArray body; ///< as long as the head says

        /// The value of a header, whatever the case of its name; empty if there is none.
        QByteArray header(const QByteArray &name) const;
    };

    /// The client's end of the line, as a script sees it.
    class Connection
    {
    public:
        /// False if the client has gone or the server stops; further calls then do nothing.
        bool send(const QByteArray &bytes);
        /// Keeps the line open without a word until the client goes or the server stops.
        void stall();
        /// Breaks the connection off instead of closing it properly.
        void reset();

    private:
        friend class ScriptedServer;
        Connection(int descriptor, int stopDescriptor);
        bool waitFor(short events) const;
        bool receive(Request &request);
        bool receiveMore(QByteArray &bytes);

        int descriptor;
        int stopDescriptor;
    };

    using Script = std::function<void(const Request &, Connection &)>;

    explicit ScriptedServer(Script script);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer &) = delete;
    ScriptedServer &operator=(const ScriptedServer &) = delete;

    quint16 port() const { return socket.port(); }
    /// "http://127.0.0.1:PORT/PATH"
    QString url(const QString &path = QString()) const;

    /// The requests that came so far, in the order of their arrival.
    QList<Request> requests() const;
    /// Waits until so many requests have come; fails the test if they do not.
    void waitForRequests(qsizetype count) const;

    /// A whole answer: status line ("200 OK"), headers (each line ending in "\r\n") and body. The
    /// length is added, and that the connection closes.
    static QByteArray answer(const QByteArray &status, const QByteArray &headers,
                             const QByteArray &body);

private:
    void acceptAll();
    void serve(int descriptor);

    Script script;
    LoopbackSocket socket;
    int stopDescriptor;
    mutable std::mutex mutex;
    mutable std::condition_variable arrived;
    QList<Request> received;
    std::vector<std::thread> connections;
    std::thread acceptor;
};

} // namespace zel::test
