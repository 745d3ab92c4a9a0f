#pragma once

#include "http/HttpHead.h"
#include "http/HttpSettings.h"
#include "http/HttpUrl.h"

#include <QCoreApplication>

#include <functional>
#include <memory>

namespace zel {

/// What is asked of a server.
struct HttpQuery
{
    enum class Method { Head, Get, Propfind };

    Method method = Method::Get;
    HttpUrl url;
    QByteArray range; ///< "bytes=100-"; empty: everything
    QByteArray ifRange; ///< the range only of this state, else everything
    QList<QByteArray> headers; ///< further lines, "Depth: 1"
    QByteArray body; ///< sent along with a Propfind
    bool countsAsTransfer = true; ///< waits for one of the server's places
};

/// Takes in the body of a good answer (200 or 206, to a Propfind 207). False ends the exchange; the
/// receiver knows why it wanted that.
class HttpReceiver
{
public:
    HttpReceiver() = default;
    HttpReceiver(const HttpReceiver &) = delete;
    HttpReceiver &operator=(const HttpReceiver &) = delete;
    virtual ~HttpReceiver() = default;

    virtual bool begin(const HttpHead &head) = 0;
    virtual bool receive(const char *data, qint64 size) = 0;
};

/// How an exchange ended.
struct HttpOutcome
{
    enum class End {
        Answered, ///< a whole answer, whatever its status
        Stopped, ///< the receiver had enough
        CutShort, ///< the connection closed before the announced length
        Broken, ///< the connection failed in a way that may pass
        Hopeless, ///< asking again will not help
        Canceled,
    };

    End end = End::Hopeless;
    HttpHead head; ///< of the last answer
    HttpUrl url; ///< who was asked last, after all redirects
    QByteArray said; ///< the beginning of a body that went to no receiver
    QString reason; ///< what went wrong, for people; empty for an answer

    bool isAnswered() const { return end == End::Answered; }
    /// Asking again a little later may bring a better one.
    bool mayPass() const;
    /// The server says that nothing lies there, or nothing that this user may see.
    bool meansAbsent() const;
};

/// Asks servers, one question at a time, following redirects; connections are kept for the next
/// question. Every wait ends soon after `isCanceled` turns true, and when too few bytes come.
///
/// TLS certificates are verified, user names and passwords come from the netrc file only, and
/// nothing is read from the environment. One thread at a time.
class HttpSession
{
    Q_DECLARE_TR_FUNCTIONS(zel::HttpSession)

public:
    explicit HttpSession(const HttpSettings &settings);
    ~HttpSession();
    HttpSession(const HttpSession &) = delete;
    HttpSession &operator=(const HttpSession &) = delete;

    HttpOutcome exchange(HttpQuery query, HttpReceiver *receiver,
                         const std::function<bool()> &isCanceled);

private:
    class Private;

    const std::unique_ptr<Private> d;
};

} // namespace zel
