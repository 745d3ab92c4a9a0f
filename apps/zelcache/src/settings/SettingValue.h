#pragma once

#include "ResourceCacheSizes.h"
#include "errors/Result.h"
#include "settings/SettingsFile.h"

namespace zel::cli {

/// What is wrong with a value that stands in the settings file, and what is made of it; empty if
/// nothing is wrong. To be read behind the name of the setting: "is empty, ...".
QString complaintAbout(SettingKey key, const QVariant &value);

/// The value of a setting from what a user typed: an absolute directory, or a size of at least one
/// byte that keeps the optimal size from being above the maximum. `sizes` are those that are in
/// force without it. Fails with code 2; the message does not repeat the name of the setting.
Result<QVariant> settingFromText(SettingKey key, const QString &text,
                                 const ResourceCacheSizes &sizes);

/// A size with its bytes and for people: "2048 (2.0 KiB)".
QString sizeAndBytesText(qint64 bytes);

} // namespace zel::cli
