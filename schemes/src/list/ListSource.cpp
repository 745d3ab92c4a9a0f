#include "list/ListSource.h"

#include "errors/Propagate.h"
#include "folder/RemoteDocument.h"
#include "http/HttpFailure.h"
#include "list/AutoindexPage.h"
#include "list/ChecksumLines.h"

namespace zel {

namespace {

HttpWatch watchOf(const std::function<bool()> &isCanceled)
{
    HttpWatch watch;
    watch.isCanceled = isCanceled;
    return watch;
}

} // namespace

ListSource::ListSource(const QSharedPointer<ListReference> &reference, const HttpSettings &settings)
    : reference(reference)
    , settings(settings)
    , session(settings)
{
}

Result<RemoteListing> ListSource::list(const std::function<bool()> &isCanceled)
{
    Result<RemoteListing> listing = reference->isServerListing()
        ? ZEL_PASS(listFolders(isCanceled))
        : ZEL_PASS(listChecksums(isCanceled));
    if (listing.hasValue() || listing.error().errorCode() != ErrorCode::BadData)
        return listing;
    // What is wrong with a list does not say with which one.
    return ZEL_PASS(HttpFailure::make(int(ErrorCode::BadData), reference->referenceText(true),
                                      listing.error().errorMessage()));
}

Result<HttpProbe> ListSource::probe(const std::function<bool()> &isCanceled)
{
    ZEL_TRY_LET(const HttpTarget list, target());
    return ZEL_PASS(HttpClient(settings).probe(list, watchOf(isCanceled), session));
}

Result<HttpTarget> ListSource::target() const
{
    HttpTarget target;
    ZEL_TRY_LET(target.url, HttpUrl::parse(reference->requestUrl()));
    target.displayName = reference->referenceText(true);
    target.expected = reference->expectedContent();
    return target;
}

Result<QByteArray> ListSource::read(const HttpTarget &target,
                                    const std::function<bool()> &isCanceled)
{
    return ZEL_PASS(RemoteDocument::fetch(target, settings, watchOf(isCanceled), session));
}

Result<RemoteListing> ListSource::listChecksums(const std::function<bool()> &isCanceled)
{
    Error error;
    ZEL_TRY_LET(const HttpTarget list, target());
    ZEL_TRY_LET(const QByteArray text, read(list, isCanceled));
    ZEL_TRY_LET(const QList<ChecksumLines::Line> lines, ChecksumLines::parse(text));
    RemoteListing listing;
    for (const ChecksumLines::Line &line : lines) {
        RemoteFile file;
        file.path = line.path;
        file.hash = line.hash;
        ZEL_TRY_LET(file.url, list.url.below(line.path));
        ZEL_TRY(error, listing.addFile(file));
    }
    return listing;
}

Result<RemoteListing> ListSource::listFolders(const std::function<bool()> &isCanceled)
{
    Error error;
    ZEL_TRY_LET(const HttpTarget top, target());
    RemoteListing listing;
    bytesOfPages = 0;
    QStringList folders { QString() };
    while (!folders.isEmpty()) {
        const QString folder = folders.takeLast();
        ZEL_TRY(error, addPage(top.url, folder, &listing, &folders, isCanceled));
    }
    return listing;
}

/// What lies in one folder, of which the path is empty or ends with a slash; folders in there are
/// added to those that are still to be asked about.
Error ListSource::addPage(const HttpUrl &top, const QString &folder, RemoteListing *listing,
                          QStringList *folders, const std::function<bool()> &isCanceled)
{
    Error error;
    HttpTarget page { top, reference->referenceText(true) + folder, {} };
    if (!folder.isEmpty()) {
        ZEL_TRY_LET(page.url, top.below(folder));
    }
    ZEL_TRY_LET(const QByteArray json, read(page, isCanceled));
    bytesOfPages += json.size();
    if (bytesOfPages > RemoteDocument::mostBytes) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("The server's listings of the folders are too long."));
    }
    ZEL_TRY_LET(const QList<AutoindexPage::Entry> entries, AutoindexPage::parse(json));
    for (const AutoindexPage::Entry &entry : entries) {
        const QString path = folder + entry.name;
        if (entry.isFolder) {
            ZEL_TRY(error, listing->addFolder(path));
            folders->append(path + u'/');
            continue;
        }
        RemoteFile file;
        file.path = path;
        file.size = entry.size;
        file.modified = entry.modified;
        ZEL_TRY_LET(file.url, top.below(path));
        ZEL_TRY(error, listing->addFile(file));
    }
    return error;
}

} // namespace zel
