// Any bytes as a list of files of a server, with checksums or made by the server itself: no name
// that is taken in leads out of the folder.
#include "Fuzzing.h"

#include "folder/RemoteListing.h"
#include "list/AutoindexPage.h"
#include "list/ChecksumLines.h"

#include <QDir>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace Qt::Literals::StringLiterals;

void checkPlace(const QString &path)
{
    const QString place = QDir::cleanPath(u"/cache/data/"_s + path);
    ZEL_MUST(place == u"/cache/data/"_s + path);
    ZEL_MUST(!path.contains(u'\\') && path.toUtf8().size() <= RemoteListing::mostPathBytes);
}

void checkListing(const RemoteListing &listing)
{
    for (const auto &[path, file] : listing.files()) {
        ZEL_MUST(path == file.path);
        checkPlace(path);
    }
    for (const QString &path : listing.folders()) {
        checkPlace(path);
        ZEL_MUST(!listing.files().contains(path));
    }
    ZEL_MUST(listing.totalBytes().value_or(0) >= 0);
    noteOutcome(QString::number(listing.files().size()));
}

void checkChecksums(const QByteArray &text)
{
    const auto lines = ChecksumLines::parse(text);
    if (!lines.hasValue())
        return checkFailure(lines.error(), { 4 });
    const auto list = HttpUrl::parse("http://host/data/sums");
    RemoteListing listing;
    for (const ChecksumLines::Line &line : lines.value()) {
        RemoteFile file;
        file.path = line.path;
        file.hash = line.hash;
        const auto url = list.value().below(line.path);
        checkOutcome(url.hasValue() ? Error() : url.error(), { 1, 2, 4 });
        const Error error = listing.addFile(file);
        checkOutcome(error, { 4 });
        if (!error.hasError() && url.hasValue())
            ZEL_MUST(url.value().encodedPath().startsWith("/data/"));
    }
    checkListing(listing);
}

void checkPage(const QByteArray &json)
{
    const auto page = AutoindexPage::parse(json);
    if (!page.hasValue())
        return checkFailure(page.error(), { 4 });
    RemoteListing listing;
    for (const AutoindexPage::Entry &entry : page.value()) {
        RemoteFile file;
        file.path = entry.name;
        file.size = entry.size;
        file.modified = entry.modified;
        checkOutcome(entry.isFolder ? listing.addFolder(entry.name) : listing.addFile(file), { 4 });
    }
    checkListing(listing);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    checkChecksums(bytes);
    checkPage(bytes);
    return 0;
}
