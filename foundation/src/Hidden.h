#pragma once

#include <QtGlobal>

/// Keeps a class inside the library that is nested in an exported one, whose visibility it would
/// have otherwise. Written where the class is defined.
#if defined(Q_OS_WIN)
#define ZEL_RESOURCE_MANAGER_HIDDEN
#else
#define ZEL_RESOURCE_MANAGER_HIDDEN [[gnu::visibility("hidden")]]
#endif
