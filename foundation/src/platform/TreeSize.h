#pragma once

#include <QString>

#include <functional>

namespace zel {

/// Bytes in the file or in all files below the folder; the rules are those of
/// FileUtilsGeneric::contentSize(). `goesOn` is asked before each entry.
qint64 treeSize(const QString &path, const std::function<bool()> &goesOn = {});

} // namespace zel
