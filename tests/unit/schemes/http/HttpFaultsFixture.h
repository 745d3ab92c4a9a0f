#pragma once

#include "HttpTestSupport.h"
#include "ScriptedServer.h"

#include <gtest/gtest.h>

namespace zel::test {

inline const QByteArray content = "0123456789";
inline const QByteArray etag = "ETag: \"one\"\r\n";

inline Error download(const ScriptedServer &server, HttpSink *sink, const HttpSettings &settings,
                      const HttpWatch &watch = HttpWatch())
{
    return HttpClient(settings).download(targetOf(server.url()), sink, watch);
}

/// A decent server of `content`, as far as one file and open ranges go.
inline void serveProperly(const ScriptedServer::Request &request,
                          ScriptedServer::Connection &connection)
{
    const QByteArray range = request.header("range");
    if (range.isEmpty() || request.header("if-range") != "\"one\"") {
        connection.send(ScriptedServer::answer("200 OK", etag, content));
        return;
    }
    const qsizetype first = range.mid(6, range.size() - 7).toLongLong();
    const QByteArray span = "Content-Range: bytes " + QByteArray::number(first) + "-9/10\r\n";
    connection.send(ScriptedServer::answer("206 Partial Content", etag + span, content.mid(first)));
}

/// Announces ten bytes and sends four.
inline void closeEarly(ScriptedServer::Connection &connection)
{
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n" + etag + "\r\n" + content.left(4));
}

/// Downloads from a server that does one thing wrong.
class HttpFaultsFixture : public ::testing::Test
{
protected:
    QuickSettings settings;
    FileSink sink;
};

} // namespace zel::test
