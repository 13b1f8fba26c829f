#include "Platform/GeneralServices/NameInterface.h"

namespace Valdane
{

NameInterface::~NameInterface() = default;

} // namespace Valdane
