#include "folder/FolderFileSink.h"

#include "SchemeErrors.h"
#include "errors/Propagate.h"
#include "references/ResourceReferenceUtils.h"

namespace zel {

namespace {

/// Without its quotes and the mark of a weak one, which listings and answers set differently.
QByteArray bareTag(const QByteArray &etag)
{
    QByteArray bare = etag.startsWith("W/") ? etag.mid(2) : etag;
    if (bare.size() > 1 && bare.startsWith('"') && bare.endsWith('"'))
        bare = bare.mid(1, bare.size() - 2);
    return bare;
}

bool areDifferentTags(const QByteArray &left, const QByteArray &right)
{
    return !left.isEmpty() && !right.isEmpty() && bareTag(left) != bareTag(right);
}

bool areDifferentTimes(const QDateTime &left, const QDateTime &right)
{
    return left.isValid() && right.isValid() && left.toSecsSinceEpoch() != right.toSecsSinceEpoch();
}

} // namespace

FolderFileSink::FolderFileSink(FolderStaging *staging, const RemoteFile &listed,
                               std::atomic<qint64> *done, qint64 counted)
    : staging(staging)
    , listed(listed)
    , done(done)
    , counted(counted)
    , sums(ContentManifest::defaultBlockBytes)
{
}

Result<qint64> FolderFileSink::open(const HttpRepresentation &state)
{
    Error error;
    ZEL_TRY(error, checkListed(state));
    file.reset();
    ZEL_TRY_LET(file, staging->openPart(listed.path, state.stateKey()));
    // More than all of it is not the beginning of it.
    if (state.size && file->size() > *state.size)
        ZEL_TRY(error, file->truncate(0));
    openState = state;
    sums.startAt(file->size());
    count();
    return file->size();
}

/// The checksum of a file, where one is told, says all about it; the time says nothing then.
Error FolderFileSink::checkListed(const HttpRepresentation &state) const
{
    const bool isOther = areDifferentTags(listed.etag, state.etag)
        || (listed.hash.isEmpty() && areDifferentTimes(listed.modified, state.modified()))
        || (listed.size && state.size && *listed.size != *state.size);
    if (!isOther)
        return {};
    return ZEL_ERROR(SchemeErrors::integrityFailure,
                     tr("\"%1\" changed since the folder was listed.")
                         .arg(ResourceReferenceUtils::printable(listed.path)));
}

Error FolderFileSink::startAnew()
{
    Error error;
    ZEL_TRY(error, file->truncate(0));
    sums.startAt(0);
    count();
    return error;
}

Error FolderFileSink::write(const QByteArray &bytes)
{
    Error error;
    ZEL_TRY(error, file->append(bytes.constData(), bytes.size()));
    sums.add(bytes.constData(), bytes.size());
    count();
    return error;
}

Error FolderFileSink::readBack(const std::function<bool(const char *data, qint64 size)> &take)
{
    return ZEL_PASS(file->readBack(take));
}

Error FolderFileSink::finish()
{
    if (!file)
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("There is nothing to finish."));
    file.reset();
    const QDateTime modified = listed.modified.isValid() ? listed.modified : openState.modified();
    return ZEL_PASS(staging->finish(listed, openState.stateKey(), modified, sums.sums()));
}

void FolderFileSink::count()
{
    *done += file->size() - counted;
    counted = file->size();
}

} // namespace zel
