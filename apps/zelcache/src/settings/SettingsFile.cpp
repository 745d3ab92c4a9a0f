#include "settings/SettingsFile.h"

#include "ResourceManagerSettings.h"
#include "errors/Propagate.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

bool hasComments(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    while (!file.atEnd()) {
        if (file.readLine().trimmed().startsWith(';'))
            return true;
    }
    return false;
}

/// The library's record, cut down to one setting: saving all of them would write defaults and what
/// the library made of bad values as if somebody had wanted them.
class OneSetting : public ResourceManagerSettings
{
public:
    OneSetting() = default;
    OneSetting(SettingKey key, const QVariant &value)
        : key(key)
        , value(value)
    {
    }

    QString filePath() const { return settingsFilePath(); }

protected:
    void saveInternal(QSettings *settings) const override
    {
        settings->setValue(iniKey(key), value);
    }

private:
    SettingKey key = SettingKey::CacheLocationPath;
    QVariant value;
};

} // namespace

QList<SettingKey> allSettingKeys()
{
    return { SettingKey::CacheLocationPath, SettingKey::OptimalCacheSize,
             SettingKey::MaximumCacheSize };
}

QString settingName(SettingKey key)
{
    switch (key) {
    case SettingKey::CacheLocationPath:
        return u"CacheLocationPath"_s;
    case SettingKey::OptimalCacheSize:
        return u"OptimalCacheSize"_s;
    case SettingKey::MaximumCacheSize:
        break;
    }
    return u"MaximumCacheSize"_s;
}

QString iniKey(SettingKey key)
{
    return u"ResourceManager/"_s + settingName(key);
}

std::optional<SettingKey> settingFromName(const QString &name)
{
    for (const SettingKey key : allSettingKeys()) {
        if (name.compare(settingName(key), Qt::CaseInsensitive) == 0)
            return key;
    }
    return {};
}

SettingsFile readSettingsFile()
{
    SettingsFile file;
    file.path = OneSetting().filePath();
    const QFileInfo info(file.path);
    file.exists = info.exists();
    file.isReadable = !file.exists || (info.isFile() && info.isReadable());
    const QSettings settings(file.path, QSettings::IniFormat);
    // All of them, as a part that nobody asks for is not looked at.
    const QStringList names = settings.allKeys();
    file.hasBadLines = settings.status() == QSettings::FormatError;
    file.hasComments = hasComments(file.path);
    for (const SettingKey key : allSettingKeys()) {
        if (settings.contains(iniKey(key)))
            file.values.insert(key, settings.value(iniKey(key)));
        for (const QString &name : names) {
            if (name != iniKey(key) && name.compare(iniKey(key), Qt::CaseInsensitive) == 0)
                file.misspelled.insert(key, name);
        }
    }
    return file;
}

Error saveSetting(SettingKey key, const QVariant &value)
{
    return ZEL_PASS(OneSetting(key, value).save());
}

} // namespace zel::cli
