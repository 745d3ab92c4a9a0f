#pragma once

#include <QString>

#include <system_error>

namespace zel {

/// Makes the folder with its parents, unless it is there. Else what stopped that; an input or
/// output error if nobody knows.
std::error_code makeFolders(const QString &path);

} // namespace zel
