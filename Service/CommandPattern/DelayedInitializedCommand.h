#pragma once

#include "Service/CommandPattern/CommandPatternExport.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <functional>
#include <memory>
#include <string>

namespace Valdane
{

/// A command that is made only when it starts, so that a costly set-up is done then and not earlier.
///
/// Pass it to CommandManager::addThreadedCommand() like any ThreadedMacroCommand. Undo and redo use the
/// command that was made.
///
/// Ownership: owns the factory until that has made its command, and shares the command.
/// Thread: the factory is called on the caller's thread; otherwise as ThreadedMacroCommand.
class VALDANE_COMMANDPATTERN_EXPORT DelayedInitializedCommand : public ThreadedMacroCommand
{
public:
    /// Described as "DelayedInitializedCommand" until the factory's command brings a description of its own.
    ///
    /// @param factory  makes the command; may be empty. Called at every start until it has made one. If it
    ///                 returns an empty pointer, the run continues without a command. If it throws, the
    ///                 start fails.
    explicit DelayedInitializedCommand(std::function<std::shared_ptr<CommandBase>()> factory);
    ~DelayedInitializedCommand() override;

    /// Makes the command, appends it to the sub-commands and starts. Takes over the command's description,
    /// unless that is empty or setDescription() was called.
    /// @throws what the factory throws, or std::bad_alloc for the new command; nothing has been run then.
    ///         Otherwise as ThreadedMacroCommand.
    bool startExecution(std::shared_ptr<ThreadManager> threadManager) override;

private:
    void makeCommand();

    static const std::string valdaneDefaultDescription;

    std::function<std::shared_ptr<CommandBase>()> valdaneCommandFactory;
};

} // namespace Valdane
