#pragma once

#include "errors/Error.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace zel::cli {

/// The settings of the library, by the names that they have in its file.
enum class SettingKey { CacheLocationPath, OptimalCacheSize, MaximumCacheSize };

QList<SettingKey> allSettingKeys();
QString settingName(SettingKey key);
QString iniKey(SettingKey key); ///< "Section/name", as the library reads it
/// In any case; empty for a name that no setting has.
std::optional<SettingKey> settingFromName(const QString &name);

/// The settings file as it stands on the disk, not judged.
struct SettingsFile
{
    QString path; ///< whichever of the possible files counts for this program
    bool exists = false;
    bool isReadable = true; ///< true also for one that does not exist
    bool hasBadLines = false; ///< lines that are neither settings nor comments
    bool hasComments = false; ///< the library does not keep them
    QMap<SettingKey, QVariant> values; ///< only what stands there
    /// What stands there in letters of another case, which the library does not read.
    QMap<SettingKey, QString> misspelled;
};

/// Call it before the library reads the file: bad lines are told only to the first one that looks.
SettingsFile readSettingsFile();

/// Writes this one setting; everything else in the file stays. The file is replaced as a whole or,
/// with a failure, stays as it was.
Error saveSetting(SettingKey key, const QVariant &value);

} // namespace zel::cli
