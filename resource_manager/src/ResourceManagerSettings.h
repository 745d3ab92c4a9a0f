#pragma once

#include "ResourceCachePath.h"
#include "ResourceCacheSizes.h"
#include "settings/SettingsInterface.h"

namespace zel {

/// Where the cache lies and how large it may grow: the library's whole configuration.
///
/// Kept in "resource_manager_settings.ini": one beside the executable goes before the user's own,
/// so that an installation can pin its cache for everybody. Whichever is read is written as well.
/// A value; no locks. Nothing checks what a file says but that an empty directory counts as none.
struct ZEL_RESOURCE_MANAGER_EXPORT ResourceManagerSettings : public SettingsInterface
{
    /// What the file says, defaults for what it does not say. Reports no failure.
    static ResourceManagerSettings loadSettings();

    ResourceCachePath cachePath; ///< where the cache lies
    ResourceCacheSizes sizes; ///< bytes

protected:
    void saveInternal(QSettings *settings) const override;
    void loadInternal(QSettings *settings) override;
    QString settingsFilePath() const override;
};

} // namespace zel
