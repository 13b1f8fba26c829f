#pragma once

#include "Service/CommandPattern/CommandBase.h"

#include <exception>
#include <list>
#include <memory>
#include <string>

namespace Valdane
{

/// Several commands that execute, undo and redo as one.
///
/// Sub-commands execute and redo first to last. They are undone last to first or, with the forward undo
/// order, first to last.
///
/// Failures. If a sub-command throws an exception derived from `std::exception`, the macro writes an error
/// line, rolls back the sub-commands before it, and rethrows the same exception object. It does not roll back
/// the sub-command that failed: that must leave the data as it found them. Exceptions of other types pass
/// through without a roll-back. Docs/failures.md has the whole table, for a failing roll-back too.
///
/// All other operations change nothing if they throw. Those that remove, query or move sub-commands do not
/// throw.
///
/// Progress. Each sub-command has a part of the macro's progress; a slower one has a larger part.
///
/// Cost: each level of nested macros takes some 200 bytes of stack when it runs (g++ 12, -O2, x86-64), and
/// none when it is destroyed. Rates are asked for on every level, so the time for them grows with the square
/// of the depth.
///
/// @pre for all operations that run or query sub-commands (not checked): no sub-command is an empty pointer
///      or moved from. No sub-command adds commands to the macro that is running it, or removes some.
///
/// Ownership: shares its sub-commands.
/// Thread: as CommandBase.
class VALDANE_COMMANDPATTERN_EXPORT MacroCommand : public CommandBase
{
public:
    /// Sub-commands in the order of execution.
    using CommandList = std::list<std::shared_ptr<CommandBase>>;

    /// No description, no sub-commands.
    MacroCommand();

    /// No sub-commands. @param description as in CommandBase.
    explicit MacroCommand(std::string description);

    /// No description. @param commands the sub-commands in the order of execution, kept as they are.
    explicit MacroCommand(CommandList commands);

    /// Also takes over the sub-commands and the undo order; see CommandBase.
    MacroCommand(MacroCommand&&) noexcept;
    MacroCommand& operator=(MacroCommand&&) noexcept;
    ~MacroCommand() override;

    /// Executes all sub-commands. On failure undoes those that were executed, in the macro's undo order.
    void execute() override;

    /// Undoes all sub-commands. On failure redoes those that were undone, first to last.
    void undo() override;

    /// Redoes all sub-commands. On failure undoes those that were redone, in the macro's undo order.
    void redo() override;

    /// The macro's own description or, if that is empty, the first sub-command's description that is not. The
    /// reference is valid until a description or the list of sub-commands changes. Cost: up to linear.
    const std::string& getDescription() const override;

    /// The average of the sub-commands' rates. Cost: linear.
    LegacyProgress::Speed::Rate getSpeedRate() const override;

    /// Whether all sub-commands are redo-capable. Asks them in order, up to the first that is not.
    bool isRedoCapable() override;

    /// Appends @p command; empty is ignored.
    void addCommand(std::shared_ptr<CommandBase> command);

    /// Puts @p command before all others; empty is ignored.
    void addCommandToFront(std::shared_ptr<CommandBase> command);

    /// Appends all of @p added, as they are. @throws std::bad_alloc, nothing being added then.
    void addCommands(const CommandList& added);

    /// Executes @p command and then appends it; empty is ignored. The macro's own progress does not move.
    ///
    /// If @p command throws an exception derived from `std::exception`, the macro undoes all its sub-commands
    /// with the virtual undo() and rethrows the exception. The sub-commands stay in the macro, and @p command
    /// is not added.
    void executeAndAdd(std::shared_ptr<CommandBase> command);

    /// Removes the last sub-command, if there is one.
    void removeLastCommand();

    /// Removes all sub-commands.
    void clear();

    /// Whether there is no sub-command, and how many there are.
    bool empty() const;
    unsigned long long size() const;

    /// The sub-commands in the order of execution.
    CommandList::const_iterator begin() const;
    CommandList::const_iterator end() const;

    /// The first and the last sub-command; empty if there is none.
    std::shared_ptr<CommandBase> getFirstCommand();
    std::shared_ptr<const CommandBase> getFirstCommand() const;
    std::shared_ptr<CommandBase> getLastCommand();
    std::shared_ptr<const CommandBase> getLastCommand() const;

    /// Whether undo() undoes first to last; false at first. The macro's progress is of no use during such an
    /// undo: its parts are in the opposite order, so it is full after the first step.
    bool getUseForwardUndoOrder() const;
    void setUseForwardUndoOrder(bool use);

    /// One command for a list of them.
    ///
    /// @return empty for an empty list, the command itself for a list of one, else a macro of the list,
    ///         without a description.
    static std::shared_ptr<CommandBase> getOrCreateSingleCommand(const CommandList& commands);

protected:
    /// The order of the sub-commands' parts of the progress.
    enum Prepare : int
    {
        Execute = 0, ///< first to last
        Undo = 1,    ///< last to first, whatever the undo order is
    };

    /// Called before each sub-command's execute(), after its first trace line; not on undo and redo. An
    /// exception of it is a failure of the sub-command. Does nothing, unless overridden.
    virtual void prepareExecute(std::shared_ptr<CommandBase> command);

    /// Called after each sub-command's execute(), before its second trace line; otherwise as
    /// prepareExecute().
    virtual void finalizeExecute(std::shared_ptr<CommandBase> command);

    /// Run one sub-command between two trace lines with its log description, then complete its progress. A
    /// trace line or a progress that throws is a failure of the sub-command, which stays done then.
    void executeCommand(std::shared_ptr<CommandBase> command);
    void undoCommand(std::shared_ptr<CommandBase> command);
    void redoCommand(std::shared_ptr<CommandBase> command);

    /// Resets the macro's progress and puts the sub-commands' progresses under it, each with the share for
    /// its rate. Asks each sub-command twice for its rate; the answers must be the same.
    void prepareProgress(Prepare layout);

private:
    // Roll back. A threaded macro that fails in a run is rolled back by its abortExecution().
    void handleExceptionOnExecuteRedo(const std::exception& exception, CommandList::iterator failed);
    void handleExceptionOnUndo(const std::exception& exception, CommandList::iterator failed);
    LegacyProgress::Speed collectSpeed() const;

    // The prefix keeps them apart from the names in derived classes.
    CommandList valdaneCommands;
    bool valdaneUseForwardUndoOrder = false;
};

} // namespace Valdane
