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
    /// @param executedCount  how many commands it stands for.
    /// @throws std::bad_alloc, with nothing changed; not after reserveOne() if none wait.
    void append(std::shared_ptr<CommandBase> command, std::uint64_t executedCount);

    /// The newest of its commands took in another one, which was executed after it.
    void noteMerge() noexcept
    {
        ++executed;
    }

    /// The command that was added last; empty if there is none.
    std::shared_ptr<CommandBase> newest() const;

    /// One command for all that was executed, also for what waits still. @throws std::bad_alloc
    std::shared_ptr<MacroCommand> makeMacro() const;

    bool isEmpty() const noexcept
    {
        return commands.empty() && waiting.commands.empty();
    }

    /// How many commands were executed in it.
    std::uint64_t executedCount() const noexcept
    {
        return executed + waiting.commands.size();
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
    std::uint64_t executed = 0;
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
