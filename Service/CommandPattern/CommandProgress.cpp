#include "Service/CommandPattern/CommandProgress.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"

namespace Valdane
{

LegacyProgress& progressOf(CommandBase& command)
{
    LegacyProgress* const progress = command.getProgressPtr();
    if (progress == nullptr)
    {
        throw VdException("The command was moved from and can no longer run.");
    }
    return *progress;
}

} // namespace Valdane
