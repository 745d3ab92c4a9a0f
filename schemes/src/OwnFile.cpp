#include "OwnFile.h"

#include "errors/Propagate.h"
#include "platform/PlainFile.h"

#include <QFileInfo>

namespace zel {

namespace {

Result<QByteArray> contentOf(PlainFile::Outcome &&outcome, const QString &path, qint64 mostBytes)
{
    if (!outcome.isPlain) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         OwnFile::tr("\"%1\" is no plain file.").arg(path));
    }
    if (outcome.failure) {
        const QString reason = qt_error_string(outcome.failure.value());
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         OwnFile::tr("Reading \"%1\" failed: %2").arg(path, reason));
    }
    if (outcome.content.size() > mostBytes)
        return ZEL_ERROR(ErrorCode::BadData, OwnFile::tr("\"%1\" is too big.").arg(path));
    return std::move(outcome.content);
}

} // namespace

Result<QByteArray> OwnFile::read(const QString &path, qint64 mostBytes)
{
    return ZEL_PASS(contentOf(PlainFile::read(path, mostBytes), path, mostBytes));
}

Result<std::optional<QByteArray>> OwnFile::readIfThere(const QString &path, qint64 mostBytes)
{
    PlainFile::Outcome outcome = PlainFile::read(path, mostBytes);
    if (outcome.failure == std::errc::no_such_file_or_directory)
        return std::optional<QByteArray>();
    // Nor is a link that leads nowhere, or what lies where this user may not look.
    if ((outcome.failure || !outcome.isPlain) && !QFileInfo::exists(path))
        return std::optional<QByteArray>();
    ZEL_TRY_LET(QByteArray content, contentOf(std::move(outcome), path, mostBytes));
    return std::optional(std::move(content));
}

} // namespace zel
