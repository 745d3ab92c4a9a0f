#pragma once

#include <QtGlobal>

/// Marks what programs that load the shared library may use; everything else stays hidden.
/// Away from Windows it is a standard attribute, which may stand beside [[nodiscard]].
#if !defined(Q_OS_WIN)
#define ZEL_RESOURCE_MANAGER_EXPORT [[gnu::visibility("default")]]
#elif defined(ZEL_RESOURCE_MANAGER_BUILD)
#define ZEL_RESOURCE_MANAGER_EXPORT Q_DECL_EXPORT
#else
#define ZEL_RESOURCE_MANAGER_EXPORT Q_DECL_IMPORT
#endif
