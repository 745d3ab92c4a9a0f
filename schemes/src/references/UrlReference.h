#pragma once

#include "references/ExpectedContent.h"
#include "references/LatestAddress.h"
#include "references/ResourceReference.h"

#include <QByteArray>

namespace zel {

/// A file of a web server: "http://host[:port]/path[?query][#checksum]", or https.
///
/// One key form for all spellings: scheme and host in lower case, default port dropped,
/// percent-encoding normalised, "." and ".." resolved, no parameter of the query or of a level
/// of the path that signs or opens the request. User names and passwords in the address are
/// refused; they belong into ~/.netrc.
class UrlReference : public ResourceReference
{
    Q_DECLARE_TR_FUNCTIONS(zel::UrlReference)

public:
    /// Code 2, with a message that shows nothing of the address but its host.
    static Result<QSharedPointer<ResourceReference>> parse(Scheme scheme, const QString &text);

    QString referenceText(bool forDisplay) const override;
    /// The decoded path on the server.
    std::optional<QString> referencePath() const override;
    /// The display form.
    std::optional<QString> referenceFullPath() const override;

    /// The address to ask, in its one spelling, with the parameters that the key form leaves out:
    /// not to be stored, logged or shown. No fragment. Of all living references of this key form,
    /// the one that was made last with such parameters tells them: signatures grow old.
    QByteArray requestUrl() const;
    const ExpectedContent &expectedContent() const { return expected; }
    /// The decoded last part of the path; never empty.
    QString fileName() const;

private:
    struct Parts
    {
        QString server; ///< "https://host:8080"
        QString path; ///< starts with a slash
        QString publicPath; ///< the same without what signs or opens the request
        QString query; ///< without the question mark
        QString publicQuery; ///< the same without what signs or opens the request
    };

    UrlReference(Scheme scheme, Parts &&givenParts, ExpectedContent &&givenContent);
    static Result<Parts> split(QStringView text);
    static Result<QString> normalisedServer(QStringView protocol, QStringView authority);
    static Result<QString> normalisedHost(const QString &host);
    static Result<QString> normalisedPort(QStringView protocol, const QString &port);

    QByteArray ownRequestUrl() const;

    const Parts parts;
    const ExpectedContent expected;
    LatestAddress latest;
};

} // namespace zel
