#include "ResourceManagerSettings.h"

#include "settings/SettingsUtils.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString fileName = u"resource_manager_settings.ini"_s;
const QString keyPattern = u"ResourceManager/%1"_s;
const QString cacheLocationPathKey = keyPattern.arg(u"CacheLocationPath"_s);
const QString optimalCacheSizeKey = keyPattern.arg(u"OptimalCacheSize"_s);
const QString maximumCacheSizeKey = keyPattern.arg(u"MaximumCacheSize"_s);

qint64 sizeOr(qint64 fallback, const QSettings &settings, const QString &key)
{
    return settings.value(key, fallback).toLongLong();
}

} // namespace

ResourceManagerSettings ResourceManagerSettings::loadSettings()
{
    ResourceManagerSettings settings;
    settings.load();
    return settings;
}

void ResourceManagerSettings::saveInternal(QSettings *settings) const
{
    settings->setValue(cacheLocationPathKey, cachePath.baseDirPath().toString());
    settings->setValue(optimalCacheSizeKey, sizes.optimalSize);
    settings->setValue(maximumCacheSizeKey, sizes.maximumSize);
}

void ResourceManagerSettings::loadInternal(QSettings *settings)
{
    // An empty directory counts as none: the cache would lie wherever the program was started.
    const QString path = settings->value(cacheLocationPathKey).toString();
    cachePath.setBaseDirPath(path.isEmpty() ? ResourceCachePath::defaultBaseDirectoryPath() : path);
    sizes.optimalSize
        = sizeOr(ResourceCacheSizes::DEFAULT_OPTIMAL_SIZE, *settings, optimalCacheSizeKey);
    sizes.maximumSize
        = sizeOr(ResourceCacheSizes::DEFAULT_MAXIMUM_SIZE, *settings, maximumCacheSizeKey);
}

QString ResourceManagerSettings::settingsFilePath() const
{
    const QString local = QDir(QCoreApplication::applicationDirPath()).filePath(fileName);
    return QFileInfo::exists(local) ? local : SettingsUtils::settingsFilePath(fileName);
}

} // namespace zel
