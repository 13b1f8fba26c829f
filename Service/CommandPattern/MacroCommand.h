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
/// Failures. When a sub-command throws what is derived from `std::exception`, the macro writes an error line,
/// rolls back the sub-commands that it has already passed, and lets the same exception object go on to the
/// caller. The one that failed is not rolled back, so it should have left the data as it found them. What a
/// roll-back throws takes the exception's place. Exceptions of other types pass through without a roll-back.
/// Trace lines and the completion of its progress belong to a sub-command's work, so one that fails there has
/// been done, and stays so. An error line that cannot be written is lost, and nothing else.
///
/// All other operations change nothing if they fail; those that remove, look or move do not fail.
///
/// Progress. Each sub-command owns a part of the macro's progress, the larger the slower it is.
///
/// @pre for all operations that run or query sub-commands (not checked): no sub-command is an empty pointer
///      or moved from, and none adds commands to or removes them from the macro that is running it.
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

    /// No sub-commands. @param description  as in CommandBase.
    explicit MacroCommand(std::string description);

    /// No description. @param commands  the sub-commands in the order of execution, kept as they are.
    explicit MacroCommand(CommandList commands);

    /// Takes over the sub-commands and the undo order too; see CommandBase.
    MacroCommand(MacroCommand&&) noexcept;
    MacroCommand& operator=(MacroCommand&&) noexcept;
    ~MacroCommand() override;

    /// Executes all sub-commands; on failure undoes those that were executed, in the macro's undo order.
    void execute() override;

    /// Undoes all sub-commands; on failure redoes those that were undone, first to last.
    void undo() override;

    /// Redoes all sub-commands; on failure undoes those that were redone, in the macro's undo order.
    void redo() override;

    /// The macro's own description or, where that is empty, the first one that is not among the
    /// sub-commands'. The reference holds until descriptions or sub-commands change. Cost: up to linear.
    const std::string& getDescription() const override;

    /// The average of the sub-commands' rates. Cost: linear.
    LegacyProgress::Speed::Rate getSpeedRate() const override;

    /// Whether all sub-commands are redo-capable; asks them in order, up to the first that is not.
    bool isRedoCapable() override;

    /// Appends @p command; empty is ignored.
    void addCommand(std::shared_ptr<CommandBase> command);

    /// Puts @p command before all others; empty is ignored.
    void addCommandToFront(std::shared_ptr<CommandBase> command);

    /// Appends all of @p added, as they are. @throws std::bad_alloc, nothing being added then.
    void addCommands(const CommandList& added);

    /// Executes @p command and then appends it; empty is ignored.
    ///
    /// The macro's own progress does not move. If @p command throws what is derived from `std::exception`,
    /// all sub-commands of the macro are undone (by the virtual undo(), they stay in it), @p command is not
    /// added, and the exception goes on to the caller.
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

    /// Whether undo() goes first to last; false at first. The macro's progress is of no use during such an
    /// undo: its parts lie the other way round, so that it is full after the first step.
    bool getUseForwardUndoOrder() const;
    void setUseForwardUndoOrder(bool use);

    /// One command for a list of them.
    ///
    /// @return empty for an empty list, the command itself for a list of one, else a macro of the list, which
    ///         has no description.
    static std::shared_ptr<CommandBase> getOrCreateSingleCommand(const CommandList& commands);

protected:
    /// Which way the sub-commands' parts of the progress lie.
    enum Prepare : int
    {
        Execute = 0, ///< first to last
        Undo = 1,    ///< last to first, whatever the undo order is
    };

    /// Called before each sub-command's execute(), after its first trace line; not on undo and redo. What it
    /// throws counts as the sub-command's failure. Does nothing, unless overridden.
    virtual void prepareExecute(std::shared_ptr<CommandBase> command);

    /// Called after each sub-command's execute(), before its second trace line; otherwise as
    /// prepareExecute().
    virtual void finalizeExecute(std::shared_ptr<CommandBase> command);

    /// Run one sub-command between two trace lines with its log description, then complete its progress.
    void executeCommand(std::shared_ptr<CommandBase> command);
    void undoCommand(std::shared_ptr<CommandBase> command);
    void redoCommand(std::shared_ptr<CommandBase> command);

    /// Resets the macro's progress and hangs the sub-commands' progresses under it, each with the share that
    /// its rate gets. Each sub-command is asked twice for its rate, and must answer the same.
    void prepareProgress(Prepare layout);

private:
    void handleExceptionOnExecuteRedo(const std::exception& exception, CommandList::iterator failed);
    void handleExceptionOnUndo(const std::exception& exception, CommandList::iterator failed);
    LegacyProgress::Speed collectSpeed() const;

    // The prefix keeps them apart from the names in derived classes.
    CommandList valdaneCommands;
    bool valdaneUseForwardUndoOrder = false;
};

} // namespace Valdane
