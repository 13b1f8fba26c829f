#pragma once

#include <string>
#include <vector>

namespace Valdane
{

class CommandBase;
class Trial;

/// One operation on a command that is made to fail, and what must come before it.
class FailureStep
{
public:
    /// Who calls the command.
    enum class Caller
    {
        Nobody,         ///< the check itself
        Manager,        ///< CommandManager::addCommand(), undo() and redo()
        ManagerThreads, ///< CommandManager::addThreadedCommand() in synchronous mode, undo() and redo()
    };

    /// The steps for @p command, in the order in which they are tried.
    static std::vector<FailureStep> allFor(const CommandBase& command);

    /// Such as "undo()".
    const std::string& getName() const;

    /// Whether a manager calls the command. Its own allocations do not count then.
    bool isByManager() const;

    /// Whether this calls the same operation of the command as @p other.
    bool callsTheSameAs(const FailureStep& other) const;

    /// Does what comes before the step. @return false if the step cannot follow, because the command cannot be
    /// redone or is not kept for undo. @throws Mistake
    bool prepare(Trial& trial) const;

    /// Runs the step. Allocates nothing itself. @return false if the manager says that it has failed.
    /// @throws what the command throws
    bool run(Trial& trial) const;

private:
    enum class Kind
    {
        Execute,
        Undo,
        Redo,
    };

    FailureStep(std::string stepName, Kind stepKind, Caller stepCaller);

    bool call(Trial& trial, Kind called) const;
    bool callManager(Trial& trial, Kind called) const;

    std::string name;
    Kind kind;
    Caller caller;
};

} // namespace Valdane
