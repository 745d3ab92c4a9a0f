#pragma once

#include "dav/DavCollection.h"
#include "dav/PropfindReader.h"
#include "http/HttpClient.h"
#include "http/HttpSession.h"

#include <QCoreApplication>

#include <vector>

namespace zel {

/// A file or folder of a WebDAV server.
struct DavResource
{
    QString name; ///< decoded; empty for the resource that was asked about
    HttpUrl url;
    bool isFolder = false;
    HttpRepresentation state; ///< what is told of a file without sending it
};

/// What a server answers about one resource.
struct DavProbe
{
    bool exists = false; ///< and this user may see it
    DavResource resource;
    Error refusal; ///< of one that does not: what the server said
};

/// Asks a WebDAV server what lies where: PROPFIND of RFC 4918, section 9.1.
///
/// Redirects are followed within http and https. An answer is bounded, and nothing in it is
/// trusted. Failures: code 20 if canceled; 4 for an answer that is none of this protocol or lists
/// what does not lie there; 1 for all else, with what the server said. They name the resource by
/// its display form. One thread at a time; every call blocks.
class DavClient
{
    Q_DECLARE_TR_FUNCTIONS(zel::DavClient)

public:
    /// The settings are borrowed.
    DavClient(const HttpSettings &settings, const QString &displayName, const HttpWatch &watch);

    /// About one resource ("Depth: 0"). One that is not there or may not be seen is no failure.
    Result<DavProbe> describe(const HttpUrl &url);
    /// What lies directly in a folder ("Depth: 1", since servers refuse to tell all at once). A
    /// member that the server tells nothing of, or tells of twice, is a failure: a list is whole.
    Result<std::vector<DavResource>> list(const DavCollection &folder);

    /// A failure about the resource as a whole.
    Error failure(int code, const QString &what) const;

private:
    struct Answer
    {
        HttpOutcome outcome;
        std::vector<DavProperties> resources;
        Error fault; ///< what is wrong with the list itself
    };

    Answer ask(const HttpUrl &url, const QByteArray &depth);
    Answer askOnce(HttpQuery query);
    Error refusalOf(const Answer &answer) const;
    Error unlisted(const DavProperties &properties, const HttpUrl &url) const;
    static DavResource resourceOf(const DavProperties &properties, const HttpOutcome &outcome);
    Result<DavResource> resourceAsked(const Answer &answer) const;
    Result<std::vector<DavResource>> membersOf(const Answer &answer) const;

    const HttpSettings &settings;
    const QString displayName;
    const HttpWatch watch;
    HttpSession session;
};

} // namespace zel
