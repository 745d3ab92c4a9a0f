#pragma once

#include "Export.h"

#include <QLoggingCategory>

namespace zel {

/// "zel.resource_manager": everything but the recognition of data formats.
ZEL_RESOURCE_MANAGER_EXPORT const QLoggingCategory &lcResourceManager();

/// The category of the given name from a process-wide registry, made if `create` says so and there
/// is none. An unknown name without `create` gives "zel.generic", which always exists; `level` is
/// the lowest level that a category made here lets through.
///
/// The name is kept as a pointer: pass a string literal. Takes no lock: categories are made while
/// the library loads, looked up afterwards. The registry owns them and lives until the process
/// ends.
ZEL_RESOURCE_MANAGER_EXPORT QLoggingCategory *loggingCategory(const char *name, QtMsgType level,
                                                              bool create);

} // namespace zel
