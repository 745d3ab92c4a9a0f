#pragma once

#include "errors/Result.h"

#include <QByteArray>
#include <QCoreApplication>

namespace zel {

/// The address of a request: absolute, http or https, without user name, password and fragment.
class HttpUrl
{
    Q_DECLARE_TR_FUNCTIONS(zel::HttpUrl)

public:
    HttpUrl() = default;
    /// Code 2 for what is no such address.
    static Result<HttpUrl> parse(const QByteArray &text);

    /// Where a redirect from here leads. Code 1 if the place is neither http nor https.
    Result<HttpUrl> redirected(const QByteArray &location) const;
    /// What this address as a folder's, or as that of a file in the folder, has at the decoded
    /// relative path: "a/b c.bin". The query does not belong to it.
    Result<HttpUrl> below(const QString &relativePath) const;

    /// The same server's resource at an encoded path, which starts with a slash. No query.
    Result<HttpUrl> atPath(const QByteArray &encodedPath) const;

    const QByteArray &text() const { return whole; }
    bool isEncrypted() const { return scheme == "https"; }
    const QByteArray &hostName() const { return host; } ///< in lower case
    const QByteArray &encodedPath() const { return path; }
    /// "host:port" in lower case, which tells servers apart.
    QByteArray server() const { return host + ':' + port; }
    /// All that may have to stay secret: the values of the query but for short ones such as "1",
    /// and whatever is known as a secret by its name, in the query or the path.
    QList<QByteArray> secrets() const;

private:
    static Result<HttpUrl> parsed(const QByteArray &base, const QByteArray &location);

    QByteArray whole;
    QByteArray scheme;
    QByteArray host;
    QByteArray port;
    QByteArray path;
    QByteArray query;
};

} // namespace zel
