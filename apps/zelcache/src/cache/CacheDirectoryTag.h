#pragma once

#include <QString>

namespace zel::cli {

/// Marks the folder as a cache, by the file CACHEDIR.TAG that backup programs know, so that they
/// may leave it out. A tag that is there stays. Nothing depends on it: a failure is not reported.
void tagCacheDirectory(const QString &folder);

} // namespace zel::cli
