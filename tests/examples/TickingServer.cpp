#include "TickingServer.h"

#include <QThread>

#include <algorithm>

namespace zel::test {

TickingServer::TickingServer()
    : server([this](const ScriptedServer::Request &request,
                    ScriptedServer::Connection &connection) { serve(request, connection); })
{
}

TickingServer::~TickingServer()
{
    isOver = true;
}

bool TickingServer::wasFetched(const QString &path) const
{
    const auto requests = server.requests();
    return std::any_of(requests.begin(), requests.end(), [&path](const auto &request) {
        return request.method == "GET" && request.target == path.toUtf8();
    });
}

void TickingServer::serve(const ScriptedServer::Request &request,
                          ScriptedServer::Connection &connection)
{
    const bool isLarge = request.target.startsWith("/large/");
    if (!isLarge && !request.target.startsWith("/runs/")) {
        connection.send(ScriptedServer::answer("404 Not Found", {}, {}));
        return;
    }
    connection.send("HTTP/1.1 200 OK\r\nETag: \"1\"\r\nConnection: close\r\nContent-Length: "
                    + QByteArray::number(size) + "\r\n\r\n");
    if (request.method != "GET")
        return;
    if (isLarge)
        sendSlowly(connection);
    else
        connection.send(QByteArray(size, 's'));
}

bool TickingServer::sendSlowly(ScriptedServer::Connection &connection)
{
    if (!connection.send(QByteArray(size / 2, 's')))
        return false;
    qint64 rest = size - size / 2;
    while (!isLetGo && rest > 2 * pieceSize) {
        if (!waitForTick() || !connection.send(QByteArray(pieceSize, 's')))
            return false;
        ++pieces;
        rest -= pieceSize;
    }
    return connection.send(QByteArray(rest, 's'));
}

bool TickingServer::waitForTick()
{
    const int before = ticks;
    while (ticks == before) {
        if (isOver)
            return false;
        QThread::msleep(1);
    }
    return true;
}

} // namespace zel::test
