#pragma once

#include "SchemesExport.h"

namespace zel {

/// Makes all schemes of this library known: their references, handlers and metadata.
///
///   file:/path          a local file or folder, used where it lies
///   share:/path         a file or folder of a mounted share or any directory, copied into the
///                       cache; "#sha256=..." or "#md5=..." behind a file is checked
///   http:, https:       one file of a web server, copied into the cache; checksums as above
///   list+http:, list+https:
///                       a folder of a web server, told by a file of SHA-256 checksums or by the
///                       server's own listing in JSON, copied into the cache
///   dav:, davs:         a file or folder of a WebDAV server, copied into the cache; checksums of
///                       files as above
///
/// Call it before the first reference is made, before the first call of ResourceManager::instance()
/// and before other threads start. Calling it again does no harm. A scheme that cannot be
/// registered, because another one has taken its prefix, is logged and left out.
ZEL_RESOURCE_SCHEMES_EXPORT void registerResourceSchemes();

} // namespace zel
