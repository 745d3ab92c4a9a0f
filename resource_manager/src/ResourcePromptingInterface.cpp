#include "ResourcePromptingInterface.h"

namespace zel {

ResourcePromptingInterface::~ResourcePromptingInterface() = default;

} // namespace zel
