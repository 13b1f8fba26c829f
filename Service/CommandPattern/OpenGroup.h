#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

namespace Valdane
{

class CommandBase;
class MacroCommand;

/// Commands that were executed and wait for the one that is queued next.
struct WaitingCommands
{
    std::list<std::shared_ptr<CommandBase>> commands;
    bool useForwardUndoOrder = false;
    /// The number of the newest one, see SavePoints; 0 if there is none.
    std::uint64_t newest = 0;

    /// A macro of @p next and of those that wait, as executed. @throws std::bad_alloc, with nothing changed.
    std::shared_ptr<MacroCommand> mergeWith(const std::shared_ptr<CommandBase>& next) const;
};

/// What was executed while a group is open. It becomes one entry of the history, or is undone.
///
/// Thread: as CommandManager.
class OpenGroup
{
public:
    explicit OpenGroup(std::string groupDescription);

    /// Makes sure that the next append() does not fail. @throws std::bad_alloc, with nothing changed.
    void reserveOne();

    /// Adds a command, merged with those that wait in this group.
    /// @param number  of the command, see SavePoints.
    /// @throws std::bad_alloc, with nothing changed; not after reserveOne() if none wait.
    void append(std::shared_ptr<CommandBase> command, std::uint64_t number);

    /// The command that was added last took in the one with that number.
    void noteMerge(std::uint64_t number) noexcept
    {
        newest = number;
    }

    /// The command that was added last; empty if there is none.
    std::shared_ptr<CommandBase> newestCommand() const;

    /// One command for all that was executed, also for what waits still. @throws std::bad_alloc
    std::shared_ptr<MacroCommand> makeMacro() const;

    /// How many commands are in it, also those that wait.
    std::size_t size() const noexcept
    {
        return commands.size() + waiting.commands.size();
    }

    bool isEmpty() const noexcept
    {
        return commands.empty() && waiting.commands.empty();
    }

    /// The number of the command that was executed last in it; 0 if it is empty.
    std::uint64_t newestNumber() const noexcept
    {
        return waiting.commands.empty() ? newest : waiting.newest;
    }

    const std::string& getDescription() const noexcept
    {
        return description;
    }

    WaitingCommands waiting;

private:
    std::string description;
    std::list<std::shared_ptr<CommandBase>> commands;
    /// Has an element that the next command gets, after reserveOne().
    std::list<std::shared_ptr<CommandBase>> reserved;
    std::uint64_t newest = 0;
};

/// Takes the innermost group out of the list while it is closed, because the application is called then, which may open
/// others. Puts it back if that fails.
class ClosedGroup
{
public:
    explicit ClosedGroup(std::list<OpenGroup>& openGroups) noexcept;
    ClosedGroup(const ClosedGroup&) = delete;
    ClosedGroup& operator=(const ClosedGroup&) = delete;
    ~ClosedGroup();

    const OpenGroup* operator->() const noexcept
    {
        return &group.front();
    }

    /// The group does not come back.
    void keepClosed() noexcept
    {
        isKept = true;
    }

    void reopenUnlessKept() noexcept;

private:
    std::list<OpenGroup>& groups;
    std::list<OpenGroup> group;
    std::size_t depth;
    bool isKept = false;
};

} // namespace Valdane
