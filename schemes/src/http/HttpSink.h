#pragma once

#include "errors/Error.h"
#include "errors/Result.h"
#include "http/HttpRepresentation.h"

#include <functional>

namespace zel {

/// Where a download goes: a file that grows, and that may have grown in an earlier attempt.
/// Called on the thread of the download.
class HttpSink
{
public:
    HttpSink() = default;
    HttpSink(const HttpSink &) = delete;
    HttpSink &operator=(const HttpSink &) = delete;
    virtual ~HttpSink() = default;

    /// Before the first byte of a state of the file; again if the server has another state later.
    /// Gives how many leading bytes of that very state are here already.
    virtual Result<qint64> open(const HttpRepresentation &state) = 0;
    /// Forgets all bytes of the open state. After a failure only open() may be called: nobody knows
    /// what is here.
    virtual Error startAnew() = 0;
    /// Appends all of the bytes or fails. After a failure only open() may be called: bytes that
    /// were written before may be gone as well. May keep what it is given for another thread, which
    /// gives it back under a lock that this takes as well: the memory is used again behind the next
    /// call.
    virtual Error write(const QByteArray &bytes) = 0;
    /// Hands out all bytes that are here, piece by piece, from the first one; `take` returning
    /// false ends it with a failure.
    virtual Error readBack(const std::function<bool(const char *data, qint64 size)> &take) = 0;
};

} // namespace zel
