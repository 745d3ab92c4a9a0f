#pragma once

#include "Export.h"

#include <QByteArray>

/// The hidden names that data has beside its place while it goes or comes. What is found under one
/// when its maker has ended was left by a process that died, and nobody goes on with it. No name is
/// drawn twice. Threads: any.
namespace zel::HiddenNames {

/// Whether a file or folder of this name is data on its way out.
ZEL_RESOURCE_MANAGER_EXPORT bool isLeftover(const QByteArray &name);
/// Whether a file of this name is one that is not whole yet.
ZEL_RESOURCE_MANAGER_EXPORT bool isPartial(const QByteArray &name);

} // namespace zel::HiddenNames
