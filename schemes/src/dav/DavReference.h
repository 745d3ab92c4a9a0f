#pragma once

#include "references/UrlReference.h"

namespace zel {

/// A file or folder of a WebDAV server: "dav://host[:port]/path[#checksum]", or davs for the way
/// with encryption.
///
/// Spelled as UrlReference is, but that a slash at the end and several slashes in a row mean
/// nothing, and that there is no query: what lies there has a path only.
class DavReference : public ResourceReference
{
    Q_DECLARE_TR_FUNCTIONS(zel::DavReference)

public:
    /// Code 2, with a message that shows nothing of the address but its host.
    static Result<QSharedPointer<ResourceReference>> parse(const QString &text);

    QString referenceText(bool forDisplay) const override;
    /// The decoded path on the server.
    std::optional<QString> referencePath() const override;
    /// The display form.
    std::optional<QString> referenceFullPath() const override;

    /// The address to ask, "http:" or "https:": not to be stored, logged or shown.
    QByteArray requestUrl() const { return address->requestUrl(); }
    /// Of the bytes of a file; folders have none.
    const ExpectedContent &expectedContent() const { return address->expectedContent(); }
    /// The decoded last part of the path; the name of the host if there is none.
    QString fileName() const { return address->fileName(); }

private:
    explicit DavReference(const QSharedPointer<UrlReference> &address);

    const QSharedPointer<UrlReference> address;
};

} // namespace zel
