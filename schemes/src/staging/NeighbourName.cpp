#include "staging/NeighbourName.h"

#include "staging/NeighbourPrefix.h"

namespace zel::NeighbourName {

bool isOne(std::string_view name)
{
    return name.starts_with(NeighbourPrefix::incoming)
        || name.starts_with(NeighbourPrefix::replaced);
}

} // namespace zel::NeighbourName
