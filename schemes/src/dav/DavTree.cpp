#include "dav/DavTree.h"

#include "errors/Propagate.h"

namespace zel {

namespace {

RemoteFile fileOf(const DavResource &member, const QString &path)
{
    RemoteFile file;
    file.path = path;
    file.url = member.url;
    file.size = member.state.size;
    // Without the mark of a weak one, which a file loses as it gets older.
    const QByteArray &etag = member.state.etag;
    file.etag = etag.startsWith("W/") ? etag.mid(2) : etag;
    file.modified = member.state.modified();
    return file;
}

} // namespace

DavTree::DavTree(DavClient *client)
    : client(client)
{
}

Result<RemoteListing> DavTree::list(const DavResource &folder) const
{
    ZEL_TRY_LET(const std::optional<RemoteListing> listing, listSmall(folder, mostFolders));
    if (listing)
        return *listing;
    return ZEL_PASS(client->failure(int(ErrorCode::BadData),
                                    tr("it has more than %1 folders").arg(mostFolders)));
}

Result<std::optional<RemoteListing>> DavTree::listSmall(const DavResource &folder, int most) const
{
    Error error;
    RemoteListing listing;
    std::deque<Folder> waiting { { QString(), folder.url } };
    for (int asked = 0; !waiting.empty(); ++asked) {
        if (asked > most)
            return std::optional<RemoteListing>();
        const Folder next = waiting.front();
        waiting.pop_front();
        ZEL_TRY(error, listFolder(next, listing, waiting));
    }
    return std::optional(listing);
}

Error DavTree::listFolder(const Folder &folder, RemoteListing &listing,
                          std::deque<Folder> &waiting) const
{
    Error error;
    const Result<DavCollection> collection = DavCollection::at(folder.url);
    if (!collection.hasValue()) {
        return ZEL_PASS(
            client->failure(int(ErrorCode::BadData), collection.error().errorMessage()));
    }
    ZEL_TRY_LET(const std::vector<DavResource> members, client->list(collection.value()));
    for (const DavResource &member : members) {
        const QString path = folder.path + member.name;
        ZEL_TRY(error, enter(member, path, listing));
        if (member.isFolder)
            waiting.push_back({ path + u'/', member.url });
    }
    return error;
}

Error DavTree::enter(const DavResource &member, const QString &path, RemoteListing &listing) const
{
    const Error refused
        = member.isFolder ? listing.addFolder(path) : listing.addFile(fileOf(member, path));
    if (!refused.hasError())
        return {};
    return ZEL_PASS(client->failure(int(refused.errorCode()), refused.errorMessage()));
}

} // namespace zel
