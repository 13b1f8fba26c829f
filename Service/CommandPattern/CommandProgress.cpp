#include "Service/CommandPattern/CommandProgress.h"

#include "Platform/ExceptionHandling/VdException.h"

namespace Valdane
{

void refuseMovedCommand()
{
    throw VdException("The command was moved from and can no longer run.");
}

} // namespace Valdane
