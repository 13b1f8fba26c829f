#pragma once

#include "Service/CommandPattern/MacroCommand.h"

namespace Valdane
{

/// Destroys nested macros without a stack that grows with their depth.
///
/// The destructor of the outermost macro destroys its sub-commands one after the other. A macro that is
/// destroyed by that does not destroy its own sub-commands, but leaves them to the outermost one, which
/// destroys them next: in the order in which they would have been destroyed. A macro that dies for another
/// reason meanwhile, as a member of a sub-command for instance, is an outermost one itself.
///
/// Thread: any; each thread has its own outermost macro.
class MacroDestruction
{
public:
    /// To be called by the destructor of @p macro, with its sub-commands.
    static void destroySubCommands(const MacroCommand& macro, MacroCommand::CommandList&& commands);

private:
    static void destroyAll(MacroCommand::CommandList&& commands);

    MacroCommand::CommandList pending;
    /// The command that is destroyed next, if this has its last owner.
    const CommandBase* released = nullptr;

    static thread_local MacroDestruction* innermost;
};

} // namespace Valdane
