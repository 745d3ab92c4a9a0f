#pragma once

#include "http/HttpRepresentation.h"

#include <QHash>

#include <chrono>

namespace zel {

/// The head of an answer: its status and headers, taken in line by line.
class HttpHead
{
public:
    /// Which bytes an answer carries. Of a refusal there is only the total.
    struct ContentRange
    {
        qint64 first = -1;
        std::optional<qint64> total;
    };

    /// A status line begins a new head: several may come for one request.
    void addLine(const QByteArray &line);

    int status() const { return code; } ///< 0 if there was no answer
    /// "404 Not Found"; the server's own words.
    QString statusText() const;
    /// The first one of the name, which is given in lower case.
    QByteArray header(const QByteArray &name) const { return headers.value(name); }
    /// Bytes of all heads so far.
    qint64 byteCount() const { return bytes; }

    std::optional<ContentRange> contentRange() const;
    HttpRepresentation representation() const;
    /// How long the server asks to wait, given in seconds or as a time of its own clock.
    std::optional<std::chrono::seconds> retryAfter() const;
    bool isRedirect() const;
    /// The server may do better a little later.
    bool isPassingTrouble() const;

private:
    int code = 0;
    QByteArray reason;
    QHash<QByteArray, QByteArray> headers;
    qint64 bytes = 0;
};

} // namespace zel
