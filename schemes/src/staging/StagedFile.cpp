#include "staging/StagedFile.h"

#include "SchemeErrors.h"
#include "errors/Propagate.h"
#include "files/NativePath.h"

#include <algorithm>
#include <vector>

namespace zel {

namespace {

// Short enough that waiting for the disk does not delay a cancel, long enough to cost nothing.
constexpr qint64 bytesBetweenSyncs = 16ll * 1024 * 1024;
// The disk works while the next bytes come, instead of idling until they are synced: a file is on
// it in half of the time. Smaller files are synced soon enough.
constexpr qint64 bytesBetweenStarts = 1024ll * 1024;
constexpr qint64 readBackBytes = 256ll * 1024;

} // namespace

StagedFile::StagedFile(NativeFile file, const std::filesystem::path &path, qint64 size)
    : file(std::move(file))
    , path(path)
    , name(textPath(path.filename()))
    , writtenBytes(size)
    , startedBytes(size)
{
}

Result<std::unique_ptr<StagedFile>> StagedFile::open(const std::filesystem::path &path)
{
    ZEL_TRY_LET(NativeFile file, NativeFile::open(path, NativeFile::Mode::ReadWrite));
    ZEL_TRY_LET(const qint64 size, file.size());
    return std::unique_ptr<StagedFile>(new StagedFile(std::move(file), path, size));
}

Error StagedFile::append(const char *data, qint64 count)
{
    const Error error = file.writeAt(writtenBytes, data, count);
    if (error.hasError())
        return ZEL_PASS(storageFailure(error));
    writtenBytes += count;
    if (writtenBytes - startedBytes >= bytesBetweenStarts) {
        file.startSync(startedBytes, writtenBytes - startedBytes);
        startedBytes = writtenBytes;
    }
    return writtenBytes - durable >= bytesBetweenSyncs ? ZEL_PASS(sync()) : Error();
}

Error StagedFile::truncate(qint64 count)
{
    Error error;
    ZEL_TRY(error, file.truncate(count));
    writtenBytes = count;
    startedBytes = std::min(startedBytes, count);
    durable = std::min(durable, count);
    return error;
}

Error StagedFile::sync()
{
    const Error error = file.sync();
    if (error.hasError()) {
        const Error failure = ZEL_PASS(storageFailure(error));
        dropUnsynced();
        return failure;
    }
    durable = writtenBytes;
    return {};
}

/// Which of the bytes did not arrive nobody knows, and the next sync would not tell again.
void StagedFile::dropUnsynced()
{
    const Error error = truncate(durable);
    if (!error.hasError())
        return;
    ZEL_DROP(error); // without the file none of them is gone on from either
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

Error StagedFile::readBack(const std::function<bool(const char *, qint64)> &take)
{
    std::vector<char> buffer(readBackBytes);
    for (qint64 offset = 0; offset < writtenBytes;) {
        const qint64 wanted = std::min(readBackBytes, writtenBytes - offset);
        ZEL_TRY_LET(const qint64 got, file.readAt(offset, buffer.data(), wanted));
        if (got == 0) {
            return ZEL_ERROR(ErrorCode::OperationFailed,
                             tr("\"%1\" became shorter while it was read.").arg(name));
        }
        if (!take(buffer.data(), got))
            return ZEL_PASS(Error(ErrorCode::Canceled));
        offset += got;
    }
    return {};
}

Error StagedFile::storageFailure(const Error &cause) const
{
    if (!file.isOutOfSpace())
        return cause;
    return ZEL_ERROR(SchemeErrors::noSpace,
                     tr("There is no room left for \"%1\": %2").arg(name, cause.errorMessage()));
}

} // namespace zel
