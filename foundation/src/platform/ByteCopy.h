#pragma once

#include <QtGlobal>

#include <functional>

namespace zel::posix {

/// Copies all bytes of the open file `source`, from its start, into the empty open file `target`:
/// by shared blocks, else inside the kernel, else by reading and writing. `advance` is told the
/// bytes of each piece; if it returns false, the copy ends with ECANCELED. 0 or errno.
int copyBytes(int source, int target, qint64 size, const std::function<bool(qint64)> &advance);

} // namespace zel::posix
