#include "ResourceCachePath.h"

#include "files/AppDataLocation.h"

#include <QCryptographicHash>
#include <QDir>

namespace zel {

using namespace Qt::Literals::StringLiterals;

ResourceCachePath::ResourceCachePath()
    : baseDir(defaultBaseDirectoryPath())
{
}

ResourceCachePath::~ResourceCachePath() = default;

PathImpl<PathType::Dir> ResourceCachePath::cacheDataDir() const
{
    return QDir::cleanPath(baseDir.toString() + u"/Cache/"_s);
}

PathImpl<PathType::File> ResourceCachePath::databasePath() const
{
    return QDir::cleanPath(baseDir.toString() + u"/ResourceCache.db"_s);
}

QString ResourceCachePath::defaultBaseDirectoryPath()
{
    return QDir::cleanPath(getAppDataLocationFile(u"../ResourceCache/"_s, true, {}));
}

QString ResourceCachePath::semaphoreKeyFor(const QString &baseDirectory)
{
    const QByteArray bytes = QDir::cleanPath(baseDirectory).toUtf8();
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
    return u"zel::ResourceCache-%1"_s.arg(QString::fromLatin1(digest));
}

PathImpl<PathType::Dir> ResourceCachePath::baseDirPath() const
{
    return baseDir;
}

void ResourceCachePath::setBaseDirPath(const PathImpl<PathType::Dir> &path)
{
    baseDir = path;
}

} // namespace zel
