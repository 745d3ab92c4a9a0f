#pragma once

#include <QString>

namespace zel {

/// Bytes in the file or in all files below the folder; the rules are those of
/// FileUtilsGeneric::contentSize().
qint64 treeSize(const QString &path);

} // namespace zel
