#pragma once

#include "ResourceManagerSettings.h"

namespace zel::test {

/// The settings in a file of the test's own.
struct SettingsAt : ResourceManagerSettings
{
    explicit SettingsAt(const QString &path)
        : path(path)
    {
    }

    QString path;

protected:
    QString settingsFilePath() const override { return path; }
};

} // namespace zel::test
