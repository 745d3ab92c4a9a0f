#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>

namespace zel {

/// What a server said it is about to send, or would send: enough to tell one state of a file from
/// the next, so that the rest of a file is never joined to the beginning of another.
struct HttpRepresentation
{
    std::optional<qint64> size; ///< bytes; empty if the server did not tell
    QByteArray etag; ///< with its quotes, and W/ before a weak one
    QByteArray lastModified; ///< as the server wrote it
    QByteArray date; ///< the server's clock at the answer, as it wrote it
    QByteArray contentType;
    bool refusesRanges = false;

    /// The value for If-Range, by which a server sends the rest only of the very same bytes: a
    /// strong ETag, else a modification time that is no longer that of "just now". Empty: the
    /// server gave nothing that would do.
    QByteArray rangeValidator() const;
    /// True only if both are provably the same state.
    bool isSameAs(const HttpRepresentation &other) const;
    /// False if a part with this head is of another state than the whole. A part need not tell what
    /// was told with the whole.
    bool mayBelongTo(const HttpRepresentation &whole) const;
    /// Names this state, for the place where its bytes are kept. Empty if nothing tells it from
    /// the next one.
    QString stateKey() const;
    /// Invalid if the server did not tell.
    QDateTime modified() const;
};

} // namespace zel
