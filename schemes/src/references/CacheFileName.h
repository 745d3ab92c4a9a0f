#pragma once

#include <QString>

namespace zel::CacheFileName {

/// "<folder>/<name>" for a resource: a folder of its own, told by the reference's key form, and the
/// original name, by which its format is recognised.
QString forResource(const QString &referenceKey, const QString &originalName);

/// The folder of all that belongs to a reference, the same on every machine.
QString folderFor(const QString &referenceKey);

/// The name as a file of any volume may have it: no separators and control characters, no dot in
/// front, and short enough that side files can be named after it. The extension survives.
QString sanitised(const QString &originalName);

} // namespace zel::CacheFileName
