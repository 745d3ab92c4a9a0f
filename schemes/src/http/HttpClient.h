#pragma once

#include "http/HttpHead.h"
#include "http/HttpSettings.h"
#include "http/HttpSink.h"
#include "http/HttpUrl.h"
#include "references/ExpectedContent.h"

#include <functional>
#include <optional>

namespace zel {

class HttpSession;

/// What is to be fetched, and what it must turn out to be.
struct HttpTarget
{
    HttpUrl url;
    QString displayName; ///< for messages
    ExpectedContent expected;
};

/// The caller's side of a running transfer. Both are called on the transfer's thread.
struct HttpWatch
{
    /// Asked at least every 100 ms.
    std::function<bool()> isCanceled = [] {
        return false;
    };
    /// Bytes that are here, of how many; empty if the server does not tell.
    std::function<void(qint64, std::optional<qint64>)> report = [](qint64, std::optional<qint64>) {
    };
};

/// What a server tells about a file without sending it.
struct HttpProbe
{
    bool exists = false; ///< and this user may read it
    HttpRepresentation state; ///< of a file that exists
    Error refusal; ///< of one that does not: what the server said
};

/// Reads files from web servers. It knows nothing of caches and references.
///
/// Failures: code 20 if canceled; 6 for bytes that are not those that were promised; the sink's own
/// ones; 1 for all else, with what the server said. A value; each call blocks and may run on any
/// thread.
class HttpClient
{
public:
    explicit HttpClient(const HttpSettings &settings = HttpSettings());

    /// Asks without fetching: HEAD, and where that is refused, for one byte. A file that is not
    /// there or may not be read is no failure.
    Result<HttpProbe> probe(const HttpTarget &target, const HttpWatch &watch) const;
    /// The same over connections of the caller's, for many questions in a row.
    Result<HttpProbe> probe(const HttpTarget &target, const HttpWatch &watch,
                            HttpSession &session) const;

    /// Brings the whole file into the sink, going on from what the sink has if the server still has
    /// the same state of the file. After a failure the sink keeps what came, unless that is wrong.
    Error download(const HttpTarget &target, HttpSink *sink, const HttpWatch &watch) const;

private:
    HttpSettings settings;
};

} // namespace zel
