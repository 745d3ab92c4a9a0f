#include "files/WholeCopy.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "platform/FileIdentity.h"
#include "platform/FileSync.h"
#include "platform/ProcessIdentity.h"
#include "platform/TreeRemoval.h"
#include "platform/VolumeMove.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <atomic>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView prefix(".adding-");

std::atomic<int> copiesBegun = 0;

/// The copy on its way: beside its place, under a name that tells whose it is.
QString incomingFor(const QString &target)
{
    const ProcessIdentity self = ProcessIdentity::current();
    return u"%1/%2%3-%4-%5"_s.arg(QFileInfo(target).path(), prefix, QString::number(self.pid),
                                  QString::number(self.startTime), QString::number(++copiesBegun));
}

void removeRemains(const QDir &folder)
{
    const QStringList names
        = folder.entryList({ prefix + u'*' }, QDir::AllEntries | QDir::Hidden | QDir::System);
    for (const QString &name : names) {
        if (!WholeCopy::isInProgress(QFile::encodeName(name)))
            ZEL_DROP(TreeRemoval::remove(folder.filePath(name))); // it is in nobody's way
    }
}

/// The name in the folder, and that of the folder, which may be as new.
Error syncNames(const QString &folder)
{
    return ZEL_PASS(
        FileSync::syncDirectories(QStringList { folder } + FileSync::foldersAround(folder)));
}

Error placeIsTaken(const QString &target)
{
    return ZEL_ERROR(ErrorCode::OperationFailed, WholeCopy::tr("%1 is there already.").arg(target));
}

Error publish(const QString &incoming, const QString &target, WholeCopy::Placed *own)
{
    const auto move = own->isThereStill() ? &VolumeMove::move : &VolumeMove::moveIfFree;
    ZEL_TRY_LET(const bool isMoved, move(nativePath(incoming), nativePath(target)));
    if (!isMoved)
        return ZEL_PASS(placeIsTaken(target));
    const Error failure = syncNames(QFileInfo(target).path());
    // Nobody knows of it yet, and the next copy needs the place.
    if (failure.hasError())
        ZEL_DROP(TreeRemoval::remove(target));
    *own = WholeCopy::Placed::at(target);
    return ZEL_PASS(failure);
}

Error copyToPlace(const QString &source, const QString &target, WholeCopy::Placed *own,
                  const TreeCopy::Progress &progress)
{
    const QString incoming = incomingFor(target);
    const auto copier = QFileInfo(source).isDir() ? &TreeCopy::copyTree : &TreeCopy::copyFile;
    const Error copied = ZEL_PASS(copier(source, incoming, {}, progress));
    const Error failure = copied.hasError() ? copied : publish(incoming, target, own);
    if (!failure.hasError())
        return copied; // with its warnings
    ZEL_DROP(TreeRemoval::remove(incoming)); // the next copy tries again
    return ZEL_PASS(failure);
}

} // namespace

bool WholeCopy::isOnItsWay(const QByteArray &name)
{
    return QFile::decodeName(name).startsWith(prefix);
}

bool WholeCopy::isInProgress(const QByteArray &name)
{
    const QList<QByteArray> numbers = name.mid(prefix.size()).split('-');
    const ProcessIdentity owner { numbers.value(0).toLongLong(), numbers.value(1).toLongLong(),
                                  ProcessIdentity::current().bootId };
    return isOnItsWay(name) && owner.isAlive();
}

WholeCopy::Placed WholeCopy::Placed::at(const QString &path)
{
    return { path, fileIdentity(path) };
}

bool WholeCopy::Placed::isThereStill() const
{
    return !identity.isEmpty() && fileIdentity(path) == identity;
}

Error WholeCopy::copy(const QString &source, const QString &target,
                      const TreeCopy::Progress &progress)
{
    Placed nothing;
    return ZEL_PASS(copyOver(source, target, &nothing, progress));
}

Error WholeCopy::copyOver(const QString &source, const QString &target, Placed *own,
                          const TreeCopy::Progress &progress)
{
    if (own->path != target)
        *own = Placed();
    removeRemains(QFileInfo(target).dir());
    // A folder neither takes a place nor is replaced in one step.
    const bool mayReplace = !QFileInfo(source).isDir() && !QFileInfo(target).isDir();
    // Looked at before the work, and again when it is done.
    if (QFileInfo::exists(target) && !(mayReplace && own->isThereStill()))
        return ZEL_PASS(placeIsTaken(target));
    return ZEL_PASS(copyToPlace(source, target, own, progress));
}

} // namespace zel
