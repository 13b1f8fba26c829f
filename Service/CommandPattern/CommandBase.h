#pragma once

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Service/CommandPattern/CommandPatternExport.h"

#include <memory>
#include <string>

namespace Valdane
{

/// One change to the application's data that can be executed, undone and redone.
///
/// Derive from it, implement execute() and undo(), and pass the command to CommandManager::addCommand(). The
/// manager calls execute() once, then undo() and redo() in turn. A command reports failure by throwing an
/// exception derived from `std::exception`. It must then leave the data as it found them, because nobody
/// undoes a command whose execute() failed.
///
/// Ownership: commands are held by `std::shared_ptr`; whoever holds the last one destroys the command. A
/// history may hold a command for a long time, so remember paths rather than objects.
/// Thread: the thread that drives the command's manager.
class VALDANE_COMMANDPATTERN_EXPORT CommandBase
{
public:
    /// A command without a description, of normal speed, with a progress of its own. @throws std::bad_alloc
    CommandBase();

    /// @param description  what users read in undo menus and logs, such as "Rename pump"; may be empty.
    /// @throws std::bad_alloc
    explicit CommandBase(std::string description);

    CommandBase(const CommandBase&) = delete;
    CommandBase& operator=(const CommandBase&) = delete;

    /// Takes over description, progress and speed. @p other has an empty description and no progress then:
    /// it can be destroyed or assigned to, but not run any more.
    CommandBase(CommandBase&& other) noexcept;
    CommandBase& operator=(CommandBase&& other) noexcept;

    virtual ~CommandBase();

    /// Performs the command. @throws anything; the manager reports exceptions derived from `std::exception`.
    virtual void execute() = 0;

    /// Reverts the last execute() or redo(). @throws as execute()
    ///
    /// The manager resets and completes the progress for execute() only. An undo or redo that is to be seen
    /// on a progress bar resets and moves it itself.
    virtual void undo() = 0;

    /// Performs the command again after undo(): calls execute(), unless overridden. @throws as execute()
    virtual void redo();

    /// The text for users; the reference is valid until the description is changed or the command destroyed.
    virtual const std::string& getDescription() const;

    /// How fast the command is compared with its neighbours in a macro; a slower one gets more of the macro's
    /// progress. A macro with many levels of nested macros asks often, see Docs/threading.md, Nested macros.
    virtual LegacyProgress::Speed::Rate getSpeedRate() const;

    /// Whether redo() may follow undo(); true, unless overridden. The manager asks once after each undo. If
    /// the answer is false, it drops the command and empties the redo queue.
    virtual bool isRedoCapable();

    /// The name in log lines: the description that was set or, if that is empty, the name of the command's
    /// class with its namespace. Never empty, and not affected by an overridden getDescription().
    std::string getLogDescription();

    /// Replaces the text that getDescription() returns.
    void setDescription(std::string text);

    /// The command's progress; empty only in a command that was moved from. Shared with the caller.
    std::shared_ptr<LegacyProgress> getProgress();
    std::shared_ptr<const LegacyProgress> getProgress() const;

    /// The same without sharing; valid as long as the command exists and keeps its progress.
    LegacyProgress* getProgressPtr();
    const LegacyProgress* getProgressPtr() const;

    /// Sets the rate that getSpeedRate() returns; at first it is `LegacyProgress::Speed::Normal`.
    void setSpeedRate(LegacyProgress::Speed::Rate rate);

private:
    // The prefix keeps them apart from the names in derived classes.
    std::string valdaneDescription;
    std::shared_ptr<LegacyProgress> valdaneProgress;
    LegacyProgress::Speed::Rate valdaneSpeedRate;
};

} // namespace Valdane
