#pragma once

#include "errors/Result.h"
#include "http/HttpUrl.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QString>

namespace zel {

/// A collection of a WebDAV server, and the names of what lies directly in it.
///
/// A server's addresses are taken for names only: whatever it lists, what is asked for next lies
/// below the address that was asked. They may be whole addresses, absolute paths, or, which RFC
/// 4918, section 8.3, does not provide for, names; a slash at the end means nothing. Failures have
/// code 4 and show the server's words in one line, without secrets.
class DavCollection
{
    Q_DECLARE_TR_FUNCTIONS(zel::DavCollection)

public:
    /// Code 4 for an address whose path cannot be read.
    static Result<DavCollection> at(const HttpUrl &url);

    /// The decoded name of the member that the address is of; empty: it is that of the collection
    /// itself. What lies elsewhere is a failure, and so is a name that no file can have.
    Result<QString> memberName(const QString &href) const;
    /// The address of a member, folders with a slash at the end.
    Result<HttpUrl> member(const QString &name, bool isFolder) const;
    /// The address of the collection itself, with a slash at the end.
    Result<HttpUrl> folder() const;
    /// The collection that this lies in; this one if it is the root.
    DavCollection parent() const;

private:
    explicit DavCollection(const HttpUrl &url, const QByteArrayList &segments);
    Result<QString> pathOf(const QString &href) const;
    Result<QString> pathOnThisHost(const QString &address) const;
    Error foreign(const QString &href) const;
    static Result<QByteArrayList> segmentsOf(const QString &path);
    QString shown(const QString &href) const;
    QByteArray encodedPath() const;

    HttpUrl url;
    QByteArrayList segments; ///< of the path, decoded
};

} // namespace zel
