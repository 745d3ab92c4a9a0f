#include "share/ShareRetrieval.h"

#include "SchemeErrors.h"
#include "Task.h"
#include "errors/Propagate.h"
#include "files/FileUtils.h"
#include "files/NativePath.h"
#include "platform/FreeSpace.h"
#include "staging/StagingCleaner.h"

namespace zel {

namespace fs = std::filesystem;

namespace {

// Small enough that a slow share answers a cancel in time.
constexpr qint64 pieceBytes = 256ll * 1024;

/// The owner can always write, so that the cache can remove the copy again.
fs::perms copiedPermissions(const ShareListing::Entry &entry)
{
    const fs::perms always = entry.kind == ShareListing::Kind::Folder
        ? fs::perms::owner_all
        : fs::perms::owner_read | fs::perms::owner_write;
    return (entry.permissions & fs::perms::all) | always;
}

} // namespace

ShareRetrieval::ShareRetrieval(Task *task, const FetchPlan &plan, const QString &source,
                               const ExpectedContent &expected)
    : task(task)
    , plan(plan)
    , source(nativePath(source))
    , expected(expected)
    , buffer(size_t(pieceBytes))
{
}

Error ShareRetrieval::run()
{
    const Error error = copy();
    if (area)
        area->giveRoomBack(error);
    return ZEL_PASS(error);
}

Error ShareRetrieval::copy()
{
    Error error;
    if (FileUtils::isSubPath(plan.stagingDirectory, textPath(source))) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("\"%1\" contains the cache that it is to be copied into.").arg(textPath(source)));
    }
    StagingCleaner::removeStaleBeforeFetch(plan);
    ZEL_TRY_LET(const ShareListing listing,
                ShareListing::of(source, [this] { return isCanceled(); }));
    ZEL_TRY(error, checkExpected(listing));
    ZEL_TRY_LET(area, StagingArea::open(plan, listing.validator()));

    progress = std::make_unique<TransferProgress>(task, area.get());
    const Error collected = collect(listing);
    if (collected.hasError()) {
        progress->end();
        return ZEL_PASS(collected);
    }
    progress->endWhole();
    ZEL_TRY(error, checkUnchanged(listing));
    ZEL_TRY(error, makeRight(listing));
    ZEL_TRY(error, area->publish());
    if (listing.leftOut() > 0) {
        error.addWarning(tr("%1 entries of \"%2\" were left out: links that lead out of it, or "
                            "what is neither file nor folder.")
                             .arg(QString::number(listing.leftOut()), textPath(source)));
    }
    return error;
}

Error ShareRetrieval::checkExpected(const ShareListing &listing) const
{
    if (listing.isFolder() && !expected.isEmpty()) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("A checksum is for files, but \"%1\" is a folder.").arg(textPath(source)));
    }
    const qint64 size = listing.entries().front().size;
    if (expected.size && *expected.size != size) {
        return ZEL_ERROR(
            SchemeErrors::integrityFailure,
            tr("\"%1\" has %2 bytes instead of %3.")
                .arg(textPath(source), QString::number(size), QString::number(*expected.size)));
    }
    return {};
}

Error ShareRetrieval::collect(const ShareListing &listing)
{
    Error error;
    isSingleFile = listing.entries().size() == 1 && !listing.isFolder();
    doneBytes = stagedBytes(listing);
    progress->begin(doneBytes, listing.totalBytes());
    ZEL_TRY(error, area->requireSpace(listing.totalBytes() - doneBytes));
    ZEL_TRY(error, tree.begin(area->contentDirectory(), listing.entries().size()));
    for (const ShareListing::Entry &entry : listing.entries()) {
        if (isCanceled())
            return ZEL_PASS(Error(ErrorCode::Canceled));
        ZEL_TRY(error, copyEntry(entry));
    }
    return error;
}

/// What an earlier fetch of the same state has left. More than all of a file is not the beginning
/// of it.
qint64 ShareRetrieval::stagedBytes(const ShareListing &listing) const
{
    qint64 staged = 0;
    for (const ShareListing::Entry &entry : listing.entries()) {
        std::error_code code;
        const auto size
            = entry.kind == ShareListing::Kind::File ? fs::file_size(targetOf(entry), code) : 0;
        if (!code && qint64(size) <= entry.size)
            staged += qint64(size);
    }
    return staged;
}

Error ShareRetrieval::copyEntry(const ShareListing::Entry &entry)
{
    switch (entry.kind) {
    case ShareListing::Kind::File:
        return ZEL_PASS(copyFile(entry));
    case ShareListing::Kind::Link:
        return ZEL_PASS(copyLink(entry));
    case ShareListing::Kind::Folder:
        break;
    }
    return ZEL_PASS(StagedTree::makeFolder(targetOf(entry)));
}

Error ShareRetrieval::copyLink(const ShareListing::Entry &entry) const
{
    std::error_code code;
    fs::remove(targetOf(entry), code);
    fs::create_symlink(entry.linkTarget, targetOf(entry), code);
    if (!code)
        return {};
    return ZEL_ERROR(FreeSpace::codeOf(code),
                     tr("Making the link \"%1\" failed: %2")
                         .arg(textPath(targetOf(entry)), QString::fromStdString(code.message())));
}

Error ShareRetrieval::copyFile(const ShareListing::Entry &entry)
{
    Error error;
    const bool isMain = entry.suffix.empty();
    ContentCheck check(isMain ? expected : ExpectedContent());
    ZEL_TRY_LET(const auto file, StagedFile::open(targetOf(entry)));
    if (file->size() > entry.size)
        ZEL_TRY(error, file->truncate(0));
    BlockSums sums(ContentManifest::defaultBlockBytes);
    sums.startAt(check.needsBytes() ? 0 : file->size());
    if (check.needsBytes()) {
        ZEL_TRY(error, file->readBack([&](const char *data, qint64 count) {
            check.addBytes(data, count);
            sums.add(data, count);
            return !isCanceled();
        }));
    }
    ZEL_TRY(error, copyBytes(entry, *file, check, sums));
    ZEL_TRY(error, finishFile(entry, *file, check));
    area->manifest().setSums(
        QByteArray::fromStdString(area->mainPath().filename().native() + entry.suffix),
        sums.sums());
    return error;
}

Error ShareRetrieval::copyBytes(const ShareListing::Entry &entry, StagedFile &file,
                                ContentCheck &check, BlockSums &sums)
{
    Error error;
    if (file.size() == entry.size)
        return error;
    ZEL_TRY_LET(NativeFile from, NativeFile::open(sourceOf(entry), NativeFile::Mode::Read));
    while (true) {
        if (isCanceled())
            return ZEL_PASS(Error(ErrorCode::Canceled));
        ZEL_TRY_LET(const qint64 got, from.readAt(file.size(), buffer.data(), pieceBytes));
        if (got == 0)
            return error;
        // Whoever writes to the source while it is read would keep this going for ever.
        if (file.size() + got > entry.size)
            return ZEL_PASS(sourceChanged());
        ZEL_TRY(error, file.append(buffer.data(), got));
        check.addBytes(buffer.data(), got);
        sums.add(buffer.data(), got);
        doneBytes += got;
        progress->advance(doneBytes, isSingleFile ? file.durableBytes() : 0);
    }
}

Error ShareRetrieval::finishFile(const ShareListing::Entry &entry, StagedFile &file,
                                 const ContentCheck &check) const
{
    Error error;
    if (file.size() != entry.size)
        return ZEL_PASS(sourceChanged());
    const Error mismatch = check.verify(file.size());
    if (mismatch.hasError()) {
        ZEL_DROP(area->clear()); // the same bytes again would fail again
        return ZEL_PASS(mismatch);
    }
    if (!tree.goesWithVolume())
        ZEL_TRY(error, file.sync());
    std::error_code ignored; // not every volume keeps these, and nobody depends on them
    fs::permissions(targetOf(entry), copiedPermissions(entry), ignored);
    fs::last_write_time(targetOf(entry), entry.modified, ignored);
    return error;
}

Error ShareRetrieval::checkUnchanged(const ShareListing &listing)
{
    ZEL_TRY_LET(const QString now,
                ShareListing::validatorOf(source, [this] { return isCanceled(); }));
    if (now == listing.validator())
        return {};
    ZEL_DROP(area->clear()); // of no use to anybody
    return ZEL_PASS(sourceChanged());
}

/// Times of folders come last, since everything that is made in them changes them. Then all of it
/// is brought to the disk at once.
Error ShareRetrieval::makeRight(const ShareListing &listing)
{
    std::vector<fs::path> folders;
    for (auto entry = listing.entries().rbegin(); entry != listing.entries().rend(); ++entry) {
        if (entry->kind != ShareListing::Kind::Folder)
            continue;
        folders.push_back(targetOf(*entry));
        std::error_code ignored; // as for files
        fs::permissions(folders.back(), copiedPermissions(*entry), ignored);
        fs::last_write_time(folders.back(), entry->modified, ignored);
    }
    return ZEL_PASS(area->keepIfSynced(tree.sync(folders)));
}

Error ShareRetrieval::sourceChanged() const
{
    return ZEL_ERROR(SchemeErrors::integrityFailure,
                     tr("\"%1\" changed while it was copied.").arg(textPath(source)));
}

fs::path ShareRetrieval::sourceOf(const ShareListing::Entry &entry) const
{
    return source.native() + entry.suffix;
}

fs::path ShareRetrieval::targetOf(const ShareListing::Entry &entry) const
{
    return area->mainPath().native() + entry.suffix;
}

bool ShareRetrieval::isCanceled() const
{
    return task->isCanceled();
}

} // namespace zel
