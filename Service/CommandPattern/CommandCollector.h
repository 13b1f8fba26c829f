#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandPatternExport.h"

#include <memory>

namespace Valdane
{

class CommandManager;
class MacroCommand;

/// Records what a piece of code does: commands that are executed through the collector's own manager land in
/// a target manager, one by one, and can be taken from there as one macro.
///
///     CommandCollector collector(manager);
///     collector.connect(true);
///     edit(*collector.getCommandManager());
///     std::shared_ptr<MacroCommand> recorded = collector.getExecutedCommands();
///
/// While it is connected, the collector's manager hands each command over as soon as it is queued there, so
/// that it is undone and redone in the target manager. What the target's addExecutedCommand() throws comes out
/// of the operation of the collector's manager; the command is then in the target, as promised there, or,
/// where it was not queued, in neither manager, although it was executed. In both cases it is not recorded;
/// nor is one for which there is no memory.
///
/// Ownership: owns its manager, and shares the recorded commands. The target manager is not owned and must
/// outlive the collector. Destroy the collector only when none of its manager's operations is under way.
/// Thread: the thread of both managers.
class VALDANE_COMMANDPATTERN_EXPORT CommandCollector
{
public:
    /// Not connected, nothing recorded.
    explicit CommandCollector(CommandManager& targetManager);
    CommandCollector(const CommandCollector&) = delete;
    CommandCollector& operator=(const CommandCollector&) = delete;
    ~CommandCollector();

    /// The manager through which to execute what is to be recorded; never null, lives as long as the
    /// collector.
    CommandManager* getCommandManager() const;

    /// Starts (true) or stops (false) handing over and recording. Either may be repeated.
    /// @throws std::bad_alloc, nothing having changed.
    void connect(bool connect);

    /// Ends one recording, and leaves the collector ready for the next.
    ///
    /// Takes all commands out of the target manager, which is cleared by that; those that were not recorded
    /// here are dropped.
    ///
    /// @return a macro, never empty as a pointer, of the recorded commands that were in the target's undo
    ///         queue, oldest first. One that was undone, dropped by the limit or merged into another is not
    ///         among them.
    /// @throws as CommandManager::takeExecutedCommands(), the recording then going on; std::bad_alloc, also
    ///         after that: the commands have left the target then.
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
