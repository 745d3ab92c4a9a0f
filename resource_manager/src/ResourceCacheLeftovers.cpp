#include "ResourceCache_p.h"
#include "errors/Propagate.h"
#include "files/HiddenNames_p.h"
#include "platform/TreeRemoval.h"
#include "zacq/Zacq.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel {

// Why one step: process A sees leftovers, process B fetches the resource and ends with Ready,
// process A deletes what it saw, and with it what B has fetched.
Result<ResourceCache::Leftovers> ResourceCache::Private::moveLeftoversAside(
    const QString &reference, const QString &path)
{
    ZEL_TRY_LET(const ResourceStatus status, loadStatus(reference));
    const QFileInfo info(QDir::cleanPath(path));
    // What lies there while somebody fetches is that fetch, whole in a moment.
    if (status == ResourceStatus::Acquiring)
        return Leftovers();
    if (status == ResourceStatus::Ready && info.isReadable())
        return Leftovers { .isPublished = true, .movedTo = {} };

    ZEL_TRY_LET(const QString movedTo, moveAside(path));
    Error error;
    if (status == ResourceStatus::Ready)
        ZEL_TRY(error, forgetLostData(reference));
    return Leftovers { .isPublished = false, .movedTo = movedTo };
}

/// Gives where to; empty if nothing had to be moved.
Result<QString> ResourceCache::Private::moveAside(const QString &path)
{
    const QFileInfo info(QDir::cleanPath(path));
    if (!info.exists())
        return QString();

    // Its second folder knows it by its place, so it cannot be moved first.
    if (zacq::Zacq::isSparseZacq(path, false)) {
        Error error;
        ZEL_TRY(error, zacq::Zacq::remove(path));
        return QString();
    }

    const QString target = HiddenNames::leftoverBeside(info.filePath());
    if (!QDir().rename(info.absoluteFilePath(), target)) {
        const QString text = info.isDir() ? tr("Removing the folder \"%1\" failed.")
                                          : tr("Removing the file \"%1\" failed.");
        return ZEL_ERROR(ErrorCode::OperationFailed, text.arg(info.absoluteFilePath()));
    }
    return target;
}

// A removal goes file by file, and the row says Ready until it is committed. Whoever dies in
// between would leave a part of the data under its path, and the next process would hand that out.
// What cannot be withdrawn is removed where it is, or fails there.
void ResourceCache::Private::withdraw(const QString &path)
{
    const QFileInfo info(path);
    const bool isFolder = info.isDir() && !info.isSymLink();
    const bool isGone = isFolder
        ? QDir().rename(info.absoluteFilePath(), HiddenNames::leftoverBeside(path))
        : QFile::remove(info.absoluteFilePath());
    if (!isGone)
        qCDebug(lcResourceManager) << "The data stays at its path while it is removed:" << path;
}

// The row still says Ready, with nothing at its path. The removal that mends it is the last one to
// know the place.
Error ResourceCache::Private::removeWithdrawn(const QString &path)
{
    Error error;
    const QDir folder = QFileInfo(QDir::cleanPath(path)).dir();
    const QStringList names = folder.entryList({ HiddenNames::leftoverPattern() },
                                               QDir::AllEntries | QDir::Hidden | QDir::System);
    for (const QString &name : names)
        ZEL_TRY(error, TreeRemoval::remove(folder.absoluteFilePath(name)));
    return error;
}

/// A row that says Ready without data would end the next fetch before it has begun.
Error ResourceCache::Private::forgetLostData(const QString &reference)
{
    const Result<UnknownPath> path = localPathInternal(reference);
    if (path.hasValue() && QFileInfo::exists(path.value().toString()))
        return Error();
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY(error, updateStatusNow(context.get(), reference, ResourceStatus::Missing));
    ZEL_TRY(error, saveLocalPath(context.get(), reference, 0, std::nullopt));
    ZEL_TRY(error, context->commit());
    return error;
}

} // namespace zel
