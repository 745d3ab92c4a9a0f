#pragma once

#include "SchemesExport.h"

#include <string_view>

/// The hidden names beside the place of a resource in the cache that Placement makes while it
/// brings data from another volume. They live as long as one placement. Whatever is found under one
/// afterwards was left by a process that died: nobody goes on with it, and the next placement from
/// the same staging place removes it first.
namespace zel::NeighbourName {

/// Whether it is one of them.
ZEL_RESOURCE_SCHEMES_EXPORT bool isOne(std::string_view name);

} // namespace zel::NeighbourName
