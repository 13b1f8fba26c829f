#include "Platform/Multitasking/Runnable.h"

namespace Valdane
{

Runnable::~Runnable() = default;

} // namespace Valdane
