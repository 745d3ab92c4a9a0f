#include "staging/StagingFolder.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "platform/TreeRemoval.h"
#include "platform/VolumeMove.h"
#include "references/CacheFileName.h"
#include "staging/StagingRecord.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QUuid>

namespace zel::StagingFolder {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView leavingSuffix(".leaving");

QStringList folders(const QString &stagingDirectory, bool leaving)
{
    const QDir directory(stagingDirectory);
    QStringList found;
    const QStringList names = directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        if (name.endsWith(leavingSuffix) == leaving)
            found << directory.absoluteFilePath(name);
    }
    return found;
}

} // namespace

QString stagingDirectoryFor(const QString &cacheDataDirectory)
{
    return QFileInfo(cacheDataDirectory).absolutePath() + u"/Staging"_s;
}

QStringList all(const QString &stagingDirectory)
{
    return folders(stagingDirectory, false);
}

QStringList remains(const QString &stagingDirectory)
{
    return folders(stagingDirectory, true);
}

QString prefixFor(const QString &referenceKey)
{
    return CacheFileName::folderFor(referenceKey) + u'-';
}

QString prefixFor(const QString &referenceKey, const QString &validator)
{
    const QByteArray hash
        = QCryptographicHash::hash(validator.toUtf8(), QCryptographicHash::Sha256);
    constexpr qsizetype hashLetters = 16;
    return prefixFor(referenceKey) + QString::fromLatin1(hash.toHex().left(hashLetters)) + u'-';
}

QString lockPath(const QString &folder)
{
    return folder + u"/lock"_s;
}

QString recordPath(const QString &folder)
{
    return folder + u"/record.json"_s;
}

QString contentPath(const QString &folder)
{
    return folder + u"/content"_s;
}

void removeIfUnused(const QString &folder)
{
    const FileLock lock(lockPath(folder));
    if (lock.state() == FileLock::State::Busy)
        return;
    // Where the volume knows no locks, the record is all there is to go by.
    if (lock.state() == FileLock::State::Unavailable) {
        const auto record = StagingRecord::read(recordPath(folder));
        if (record.hasValue() && record.value().isBeingWritten())
            return;
    }
    const Error error = remove(folder);
    // Its own fetch may have ended it in the meantime, as happens all the time when many run.
    if (QFileInfo::exists(folder))
        ZEL_DROP(error); // the next look for leftovers tries again
}

Error remove(const QString &folder)
{
    Error error;
    const QString leaving
        = folder + u'.' + QUuid::createUuid().toString(QUuid::Id128) + leavingSuffix;
    ZEL_TRY_LET(const bool isMoved, VolumeMove::move(nativePath(folder), nativePath(leaving)));
    ZEL_TRY(error, TreeRemoval::remove(isMoved ? leaving : folder));
    return error;
}

void removeRemains(const QString &stagingDirectory)
{
    for (const QString &folder : remains(stagingDirectory))
        ZEL_DROP(TreeRemoval::remove(folder)); // the next look tries again
}

} // namespace zel::StagingFolder
