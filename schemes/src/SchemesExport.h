#pragma once

#include <QtGlobal>

/// Marks what programs that load the library of schemes may use; everything else stays hidden.
#if !defined(Q_OS_WIN)
#define ZEL_RESOURCE_SCHEMES_EXPORT [[gnu::visibility("default")]]
#elif defined(ZEL_RESOURCE_SCHEMES_BUILD)
#define ZEL_RESOURCE_SCHEMES_EXPORT Q_DECL_EXPORT
#else
#define ZEL_RESOURCE_SCHEMES_EXPORT Q_DECL_IMPORT
#endif
