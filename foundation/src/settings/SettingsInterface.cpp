#include "settings/SettingsInterface.h"

#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "platform/FileSync.h"
#include "platform/TreeCopy.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isSameValue(const QVariant &written, const QVariant &read)
{
    // A file keeps numbers and the like as texts.
    return written == read
        || (written.canConvert<QString>() && written.toString() == read.toString())
        || (written.canConvert<QStringList>() && written.toStringList() == read.toStringList());
}

bool holdsAll(const QSettings &read, const QSettings &written)
{
    const QStringList keys = written.allKeys();
    return read.status() == QSettings::NoError
        && std::all_of(keys.begin(), keys.end(), [&](const QString &key) {
               return read.contains(key) && isSameValue(written.value(key), read.value(key));
           });
}

} // namespace

SettingsInterface::~SettingsInterface() = default;

void SettingsInterface::load()
{
    const QString path = settingsFilePath();
    QSettings settings(path, QSettings::IniFormat);
    if (settings.status() != QSettings::NoError
        || (QFile::exists(path) && !QFileInfo(path).isReadable()))
        qCWarning(lcResourceManager) << "Unable to read settings from" << path;
    loadInternal(&settings);
}

namespace {

/// The file behind a link, so that the link is not replaced; nobody needs to be there yet.
QString fileBehind(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    if (!canonical.isEmpty())
        return canonical;
    return info.isSymLink() ? info.symLinkTarget() : info.absoluteFilePath();
}

// How long others save, far more than it takes.
constexpr int longestWait = 10000;

// How often who waits looks again. Left to itself QLockFile looks ever more rarely, so that of many
// who save one could miss each moment in which the file is free.
constexpr int betweenLooks = 50;

// A program that is killed between making the lock's file and writing into it leaves one that does
// not say whose it is. Only its age tells that nobody comes back, and the longest wait has to see
// it. However slow a living program is, it keeps its lock: right after making the file it locks it
// by the system too, and no old file is removed that somebody has locked so.
constexpr int orphanAge = 3000;

constexpr QLatin1StringView randomPart("XXXXXX");

bool lockedInTime(QLockFile &lock)
{
    const QDeadlineTimer end(longestWait);
    while (!lock.tryLock(betweenLooks)) {
        if (lock.error() != QLockFile::LockFailedError || end.hasExpired())
            return false;
    }
    return true;
}

/// The beginning of the names of folders in which the file is written, which nobody else has.
QString workName(const QString &path)
{
    return u".zel-settings-"_s + QFileInfo(path).fileName() + u'-';
}

/// What was left by programs that were killed while they saved. The lock is held: nobody saves.
void removeLeftovers(const QString &path)
{
    const QDir folder = QFileInfo(path).dir();
    const QString start = workName(path);
    for (const QString &name :
         folder.entryList(QDir::Dirs | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot)) {
        if (name.startsWith(start) && name.size() == start.size() + randomPart.size())
            QDir(folder.filePath(name)).removeRecursively();
    }
}

} // namespace

Error SettingsInterface::save() const
{
    const QString path = fileBehind(settingsFilePath());
    const QString folder = QFileInfo(path).path();
    Error error;
    ZEL_TRY(error, FileUtilsGeneric::mkPath(folder));
    // The lock that QSettings takes as well: no key that another program writes meanwhile is lost.
    QLockFile lock(path + u".lock"_s);
    lock.setStaleLockTime(orphanAge);
    if (!lockedInTime(lock))
        return ZEL_PASS(saveFailure(path));
    removeLeftovers(path);

    // QSettings does not tell when only a part arrived on a full disk. So it works on a copy, which
    // is read again under another name, since it remembers what it wrote under the first.
    const QTemporaryDir work(folder + u'/' + workName(path) + randomPart);
    if (!work.isValid())
        return ZEL_PASS(saveFailure(path));
    const QString readPath = work.filePath(u"read.ini"_s);
    ZEL_TRY(error, writeChecked(path, work.filePath(u"written.ini"_s), readPath));
    ZEL_TRY(error, FileSync::syncFile(readPath));
    ZEL_TRY(error, FileSync::renameDurably(readPath, path));
    return error;
}

/// Brings the file, with this record's keys, to `readPath`, by way of `workPath`.
Error SettingsInterface::writeChecked(const QString &path, const QString &workPath,
                                      const QString &readPath) const
{
    Error error;
    if (QFile::exists(path)) {
        if (!QFileInfo(path).isWritable())
            return ZEL_PASS(saveFailure(path));
        ZEL_TRY(error, TreeCopy::copyFile(path, workPath, {}));
    }
    QSettings written(workPath, QSettings::IniFormat);
    saveInternal(&written);
    written.sync();
    if (written.status() != QSettings::NoError || !QFile::rename(workPath, readPath))
        return ZEL_PASS(saveFailure(path));
    if (!holdsAll(QSettings(readPath, QSettings::IniFormat), written))
        return ZEL_PASS(saveFailure(path));
    return error;
}

Error SettingsInterface::saveFailure(const QString &path)
{
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("The settings cannot be written to \"%1\".").arg(path));
}

} // namespace zel
