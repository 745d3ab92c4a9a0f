// Any bytes as a server's answer to PROPFIND: in whatever pieces they come, what is taken from it
// is the same, and every member that is taken from it lies in the folder that was asked for.
#include "Fuzzing.h"

#include "dav/DavCollection.h"
#include "dav/PropfindReader.h"
#include "folder/RemoteListing.h"

#include <algorithm>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace Qt::Literals::StringLiterals;

/// Gives the bytes to the reader in pieces of this size.
Error read(PropfindReader &reader, const QByteArray &bytes, qsizetype pieceSize)
{
    for (qsizetype start = 0; start < bytes.size(); start += pieceSize) {
        if (!reader.add(bytes.constData() + start, std::min(pieceSize, bytes.size() - start)))
            break;
    }
    return reader.finish();
}

bool areEqual(const DavProperties &left, const DavProperties &right)
{
    return left.href == right.href && left.refusal == right.refusal
        && left.isCollection == right.isCollection && left.size == right.size
        && left.etag == right.etag && left.lastModified == right.lastModified;
}

void checkSame(const PropfindReader &left, const PropfindReader &right)
{
    ZEL_MUST(std::equal(left.resources().begin(), left.resources().end(), right.resources().begin(),
                        right.resources().end(), areEqual));
}

void checkMember(const DavCollection &collection, const QString &name, bool isFolder)
{
    ZEL_MUST(!name.contains(u'/') && name != u"."_s && name != u".."_s);
    const auto address = collection.member(name, isFolder);
    if (!address.hasValue())
        return checkFailure(address.error(), { 1, 2, 4 });
    ZEL_MUST(address.value().encodedPath().startsWith("/data/a%20b/"));
    const auto again = collection.memberName(QString::fromUtf8(address.value().text()));
    ZEL_MUST(again.hasValue() && again.value() == name);
}

void checkListing(const DavCollection &collection, const PropfindReader &reader)
{
    RemoteListing listing;
    for (const DavProperties &resource : reader.resources()) {
        const auto name = collection.memberName(resource.href);
        if (!name.hasValue()) {
            checkFailure(name.error(), { 4 });
            continue;
        }
        if (name.value().isEmpty())
            continue;
        checkMember(collection, name.value(), resource.isCollection);
        RemoteFile file;
        file.path = name.value();
        file.size = resource.size;
        checkOutcome(resource.isCollection ? listing.addFolder(file.path) : listing.addFile(file),
                     { 4 });
    }
    ZEL_MUST(listing.totalBytes().value_or(0) >= 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    PropfindReader whole;
    PropfindReader pieces;
    const Error error = read(whole, bytes, std::max<qsizetype>(1, bytes.size()));
    const Error errorOfPieces = read(pieces, bytes, 1 + bytes.size() % 7);
    checkOutcome(error, { 4 });
    checkOutcome(errorOfPieces, { 4 });
    // Qt overlooks some faults on the border of two pieces ("]]>" in a text).
    if (!error.hasError() && !errorOfPieces.hasError())
        checkSame(whole, pieces);

    const auto url = HttpUrl::parse("http://host/data/a%20b/");
    checkListing(DavCollection::at(url.value()).value(), whole);
    noteOutcome(QString::number(whole.resources().size()));
    return 0;
}
