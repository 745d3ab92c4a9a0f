#include "files/WholeCopy.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "platform/FileIdentity.h"
#include "platform/FileSync.h"
#include "platform/ProcessIdentity.h"
#include "platform/TreeRemoval.h"
#include "platform/VolumeMove.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <atomic>

namespace zel {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr QLatin1StringView prefix(".adding-");
/// No copy that runs leaves what it writes alone for so long.
constexpr std::chrono::hours longestPause(24);

std::atomic<int> copiesBegun = 0;

/// The copy on its way: beside its place, under a name that tells whose it is.
QString incomingFor(const QString &target)
{
    const ProcessIdentity self = ProcessIdentity::current();
    return u"%1/%2%3-%4-%5-%6"_s.arg(QFileInfo(target).path(), prefix, QString::number(self.pid),
                                     QString::number(self.startTime),
                                     QString::number(++copiesBegun),
                                     QString::number(ProcessIdentity::numberSpace()));
}

/// What a name of incomingFor() tells. Those of older programs end before the last number.
struct Maker
{
    explicit Maker(const QByteArray &name)
    {
        const QList<QByteArray> numbers = name.mid(prefix.size()).split('-');
        process = { numbers.value(0).toLongLong(), numbers.value(1).toLongLong(),
                    ProcessIdentity::current().bootId };
        numberSpace = numbers.value(3).toLongLong();
    }

    bool canBeSeen() const
    {
        return numberSpace == 0 || numberSpace == ProcessIdentity::numberSpace();
    }

    ProcessIdentity process;
    qint64 numberSpace = 0; ///< 0 if it is not told
};

std::chrono::milliseconds timeSinceChange(const QFileInfo &info)
{
    // Not the time of the content, which comes from the source.
    return std::chrono::milliseconds(
        info.metadataChangeTime().msecsTo(QDateTime::currentDateTime()));
}

void removeRemains(const QDir &folder)
{
    const QStringList names
        = folder.entryList({ prefix + u'*' }, QDir::AllEntries | QDir::Hidden | QDir::System);
    for (const QString &name : names) {
        const QString path = folder.filePath(name);
        if (!WholeCopy::isInProgress(QFile::encodeName(name), timeSinceChange(QFileInfo(path))))
            ZEL_DROP(TreeRemoval::remove(path)); // it is in nobody's way
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

bool WholeCopy::isInProgress(const QByteArray &name, std::chrono::milliseconds unchangedFor)
{
    if (!isOnItsWay(name))
        return false;
    const Maker maker(name);
    return maker.canBeSeen() ? maker.process.isAlive() : unchangedFor < longestPause;
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
