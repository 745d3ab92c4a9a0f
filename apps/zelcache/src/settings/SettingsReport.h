#pragma once

#include "ResourceManagerSettings.h"
#include "settings/SettingsFile.h"

#include <QJsonObject>

namespace zel::cli {

enum class SettingOrigin { CommandLine, IniFile, Default };

/// One setting as it is in force.
struct Setting
{
    SettingKey key = SettingKey::CacheLocationPath;
    QVariant value; ///< a text or a 64-bit number of bytes
    SettingOrigin origin = SettingOrigin::Default;
    QString warning; ///< what is wrong with what the file says of it; empty if nothing
};

/// All settings, and where they come from.
struct SettingsReport
{
    SettingsFile file;
    QList<Setting> settings; ///< one for each key, in the order of the keys
    QString fileWarning; ///< what is wrong with the file as a whole; empty if nothing

    const Setting &setting(SettingKey key) const { return settings.at(qsizetype(key)); }
    QStringList warnings() const;
};

/// `inForce` is what the library made of the file and, if `cacheIsGiven`, of the command line.
SettingsReport settingsReport(const SettingsFile &file, const ResourceManagerSettings &inForce,
                              bool cacheIsGiven);

/// For people, a line for each setting.
QStringList settingsLines(const SettingsReport &report);
/// A value for people: sizes in bytes and in the unit that suits them.
QString valueText(const QVariant &value);

QJsonObject settingJson(const Setting &setting);
/// "file" and "exists", which all answers about settings have.
QJsonObject fileJson(const SettingsFile &file);

} // namespace zel::cli
