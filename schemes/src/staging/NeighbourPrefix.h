#pragma once

#include <string_view>

/// What the names that NeighbourName tells of begin with; the name of the staging place follows.
namespace zel::NeighbourPrefix {

/// Of what is on its way to its place.
inline constexpr std::string_view incoming = ".incoming-";
/// Of what had lain at that place.
inline constexpr std::string_view replaced = ".replaced-";

} // namespace zel::NeighbourPrefix
