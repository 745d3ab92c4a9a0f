#pragma once

#include "errors/Error.h"

#include <QCoreApplication>

class QSettings;

namespace zel {

/// A record that keeps itself in an ini file. The subclass says where the file lies and which keys
/// it has; keys of others in the same file stay.
///
/// A value without state of its own; one thread at a time.
class ZEL_RESOURCE_MANAGER_EXPORT SettingsInterface
{
    Q_DECLARE_TR_FUNCTIONS(zel::SettingsInterface)

public:
    virtual ~SettingsInterface();

    /// Reads the file. One that is missing or unreadable counts as empty: what a record without
    /// keys means is the subclass's business. An unreadable one is logged.
    void load();

    /// Writes the file, with the folder around it if need be, and looks whether all of it arrived.
    /// The old file is replaced as a whole or stays as it was: with code 1, or 7 where the system
    /// tells that room is lacking. A link stays a link.
    Error save() const;

protected:
    SettingsInterface() = default;
    SettingsInterface(const SettingsInterface &) = default;
    SettingsInterface(SettingsInterface &&) = default;
    SettingsInterface &operator=(const SettingsInterface &) = default;
    SettingsInterface &operator=(SettingsInterface &&) = default;

    virtual void saveInternal(QSettings *settings) const = 0; ///< writes the record's keys
    /// Reads the record's keys; sets defaults for what is absent.
    virtual void loadInternal(QSettings *settings) = 0;
    virtual QString settingsFilePath() const = 0; ///< the file that load() reads and save() writes

private:
    Error writeChecked(const QString &path, const QString &workPath, const QString &readPath) const;
    static Error saveFailure(const QString &path);
};

} // namespace zel
