#include "staging/NeighbourName.h"

namespace zel::NeighbourName {

namespace {

constexpr std::string_view incomingPrefix = ".incoming-";
constexpr std::string_view replacedPrefix = ".replaced-";

} // namespace

std::string incoming(const std::string &owner)
{
    return std::string(incomingPrefix) + owner;
}

std::string replaced(const std::string &owner)
{
    return std::string(replacedPrefix) + owner;
}

bool isOne(std::string_view name)
{
    return name.starts_with(incomingPrefix) || name.starts_with(replacedPrefix);
}

} // namespace zel::NeighbourName
