#pragma once

#include "references/UrlReference.h"

namespace zel {

/// A folder of a web server that is told by a list of its files: "list+http://host/path", or
/// list+https. What stands behind "list+" is the address of the list, and is spelled, normalised
/// and kept clear of secrets as that of a file is.
///
/// An address that ends with a slash is that of a listing by the server; any other one is that of a
/// file with checksums, in the folder that it is about. A checksum behind "#" is that of this file,
/// and so of all that it lists.
class ListReference : public ResourceReference
{
    Q_DECLARE_TR_FUNCTIONS(zel::ListReference)

public:
    /// Code 2, with a message that shows nothing of the address but its host.
    static Result<QSharedPointer<ResourceReference>> parse(const QString &text);

    QString referenceText(bool forDisplay) const override;
    /// The decoded path of the list on the server.
    std::optional<QString> referencePath() const override;
    /// The display form.
    std::optional<QString> referenceFullPath() const override;

    /// The address of the list, with what the key form leaves out: not to be stored or shown.
    QByteArray requestUrl() const { return list->requestUrl(); }
    const ExpectedContent &expectedContent() const { return list->expectedContent(); }
    /// Whether the server makes the list, of each folder one.
    bool isServerListing() const;
    /// The decoded name of the folder; of a server's topmost one that of the server.
    QString folderName() const;

private:
    explicit ListReference(const QSharedPointer<UrlReference> &list);
    /// The encoded path of the folder: "/data/run.d/".
    QString folderPath() const;

    const QSharedPointer<UrlReference> list;
};

} // namespace zel
