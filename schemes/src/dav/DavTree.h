#pragma once

#include "dav/DavClient.h"
#include "folder/RemoteListing.h"

#include <QCoreApplication>

#include <deque>
#include <optional>

namespace zel {

/// Everything in a folder of a WebDAV server, asked for level by level.
///
/// Folders that contain themselves end at the depth that a listing may have, and before that at the
/// number of questions.
class DavTree
{
    Q_DECLARE_TR_FUNCTIONS(zel::DavTree)

public:
    /// So many folders at most are asked for one listing.
    static constexpr int mostFolders = 20'000;

    /// The client is borrowed.
    explicit DavTree(DavClient *client);

    /// The client's failures, and those of the listing with the resource's name before them.
    Result<RemoteListing> list(const DavResource &folder) const;
    /// The same of a folder with no more than `most` folders in it; empty if there are more.
    Result<std::optional<RemoteListing>> listSmall(const DavResource &folder, int most) const;

private:
    struct Folder
    {
        QString path; ///< below the one that is listed, with a slash at the end; or empty
        HttpUrl url;
    };

    Error listFolder(const Folder &folder, RemoteListing &listing,
                     std::deque<Folder> &waiting) const;
    Error enter(const DavResource &member, const QString &path, RemoteListing &listing) const;

    DavClient *const client;
};

} // namespace zel
