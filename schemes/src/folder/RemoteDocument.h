#pragma once

#include "errors/Result.h"
#include "http/HttpClient.h"

namespace zel::RemoteDocument {

/// The largest that is taken into memory: a listing of the most entries fits easily.
inline constexpr qint64 mostBytes = 64ll * 1024 * 1024;

/// A whole small file of a server. Failures are those of a download, and code 4 if it is larger.
Result<QByteArray> fetch(const HttpTarget &target, const HttpSettings &settings,
                         const HttpWatch &watch, HttpSession &session);

} // namespace zel::RemoteDocument
