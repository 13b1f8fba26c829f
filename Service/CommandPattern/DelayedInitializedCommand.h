#pragma once

#include "Service/CommandPattern/CommandPatternExport.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <functional>
#include <memory>
#include <string>

namespace Valdane
{

/// A command that is made only when it is to run, so that a costly set-up happens then and not when it is
/// queued.
///
/// Hand it to CommandManager::addThreadedCommand() like any ThreadedMacroCommand. Undo and redo use the
/// command that was made.
///
/// Ownership: owns the factory until it has made its command, and shares that command.
/// Thread: the factory is called on the caller's thread; otherwise as ThreadedMacroCommand.
class VALDANE_COMMANDPATTERN_EXPORT DelayedInitializedCommand : public ThreadedMacroCommand
{
public:
    /// Described as "DelayedInitializedCommand" until the factory's command brings a description of its own.
    ///
    /// @param factory  makes the command. Called at every start until it has made one: it may return an empty
    ///                 pointer, and the run then goes on without, or throw, and the start then fails. If
    ///                 empty, it is not called.
    explicit DelayedInitializedCommand(std::function<std::shared_ptr<CommandBase>()> factory);
    ~DelayedInitializedCommand() override;

    /// Makes the command, appends it to the sub-commands, gives this one its description (unless that is
    /// empty or setDescription() was used), and starts.
    /// @throws what the factory throws, or std::bad_alloc while the command is taken over, nothing being
    ///         changed; otherwise as ThreadedMacroCommand.
    bool startExecution(std::shared_ptr<ThreadManager> threadManager) override;

private:
    void makeCommand();

    static const std::string valdaneDefaultDescription;

    std::function<std::shared_ptr<CommandBase>()> valdaneCommandFactory;
};

} // namespace Valdane
