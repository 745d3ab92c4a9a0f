#pragma once

#include "Export.h"

#include <QString>

namespace zel {

/// Where settings lie.
class ZEL_RESOURCE_MANAGER_EXPORT SettingsUtils
{
public:
    /// The user's settings file of this name. It stands beside the application's own configuration
    /// folder, as the default cache stands beside its data folder: all programs of an organization
    /// that share a cache share its settings too. Nothing is created.
    static QString settingsFilePath(const QString &fileName);
};

} // namespace zel
