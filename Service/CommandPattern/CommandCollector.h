#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandPatternExport.h"

#include <memory>

namespace Valdane
{

class CommandManager;
class MacroCommand;

/// Records what a piece of code does. The code executes its commands through the collector's own manager. The
/// collector hands them to a target manager, one by one. They can be taken from there as one macro.
///
///     CommandCollector collector(manager);
///     collector.connect(true);
///     edit(*collector.getCommandManager());
///     std::shared_ptr<MacroCommand> recorded = collector.getExecutedCommands();
///
/// While it is connected, the collector hands each command over as soon as its manager has queued it. So the
/// command is undone and redone in the target manager. The operation of the collector's manager throws what
/// the target's addExecutedCommand() throws. The command is then in the target but not recorded or, if the
/// target could not queue it, executed and in neither manager. A command for which there is no memory is not
/// recorded either.
///
/// Ownership: owns its manager, and shares the recorded commands. The target manager is not owned and must
/// outlive the collector. Destroy the collector only while none of its manager's operations is running.
/// Thread: the thread of both managers.
class VALDANE_COMMANDPATTERN_EXPORT CommandCollector
{
public:
    /// Not connected, nothing recorded.
    explicit CommandCollector(CommandManager& targetManager);
    CommandCollector(const CommandCollector&) = delete;
    CommandCollector& operator=(const CommandCollector&) = delete;
    ~CommandCollector();

    /// The manager through which to execute the commands to be recorded; never null, valid as long as the
    /// collector.
    CommandManager* getCommandManager() const;

    /// Starts (true) or stops (false) handing over and recording. Both may be repeated.
    /// @throws std::bad_alloc; nothing has changed then.
    void connect(bool connect);

    /// Ends one recording, and leaves the collector ready for the next.
    ///
    /// Takes all commands out of the target manager and clears it. Drops those that were not recorded here.
    ///
    /// @return a macro, never a null pointer, of the recorded commands that were in the target's undo queue,
    ///         oldest first; without those that were undone, dropped by the limit or merged into another.
    /// @throws as CommandManager::takeExecutedCommands(); the recording then continues.
    /// @throws std::bad_alloc, also when the commands have left the target already.
    /// Cost: linear in the target's undo queue, with a logarithm.
    std::shared_ptr<MacroCommand> getExecutedCommands();

private:
    bool onCommandExecuted();

    std::unique_ptr<CommandManager> commandManager;
    std::shared_ptr<MacroCommand> collectedCommands;
    CommandManager& target;
    Signals::Connection connection;
};

} // namespace Valdane
