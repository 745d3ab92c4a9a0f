#pragma once

#include "SchemesExport.h"

#include <string>
#include <string_view>

/// The hidden names beside the place of a resource in the cache that Placement makes while it
/// brings data from another volume. They live as long as one placement. Whatever is found under one
/// afterwards was left by a process that died: nobody goes on with it, and the next placement from
/// the same staging place removes it first.
namespace zel::NeighbourName {

/// For what is on its way to its place; `owner` is the name of the staging place.
std::string incoming(const std::string &owner);
/// For what had lain at that place.
std::string replaced(const std::string &owner);

/// Whether it is one of them.
ZEL_RESOURCE_SCHEMES_EXPORT bool isOne(std::string_view name);

} // namespace zel::NeighbourName
