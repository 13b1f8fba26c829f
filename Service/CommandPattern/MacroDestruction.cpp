#include "Service/CommandPattern/MacroDestruction.h"

#include <memory>
#include <utility>

namespace Valdane
{

thread_local MacroDestruction* MacroDestruction::innermost = nullptr;

void MacroDestruction::destroySubCommands(const MacroCommand& macro, MacroCommand::CommandList&& commands)
{
    if (commands.empty())
    {
        return;
    }
    if (innermost != nullptr && innermost->released == &macro)
    {
        innermost->pending.splice(innermost->pending.begin(), commands);
        return;
    }
    destroyAll(std::move(commands));
}

void MacroDestruction::destroyAll(MacroCommand::CommandList&& commands)
{
    MacroDestruction destruction;
    destruction.pending = std::move(commands);
    MacroDestruction* const outer = std::exchange(innermost, &destruction);
    while (!destruction.pending.empty())
    {
        std::shared_ptr<CommandBase> command = std::move(destruction.pending.front());
        destruction.pending.pop_front();
        destruction.released = command.get();
        command.reset();
        destruction.released = nullptr;
    }
    innermost = outer;
}

} // namespace Valdane
