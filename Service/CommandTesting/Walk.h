#pragma once

#include "Service/CommandTesting/Snapshot.h"

#include <memory>
#include <string>
#include <vector>

namespace Valdane
{

class CommandBase;
class Trial;

/// Several commands of a trial, executed one after the other, then undone and redone. No manager has them.
class Walk
{
public:
    /// Begins with the data as they are. @throws Mistake
    explicit Walk(const Trial& walkedTrial);

    /// Executes @p command as the next one. @param name  for reports, such as "the removal". @throws Mistake
    void execute(std::shared_ptr<CommandBase> command, const std::string& name);

    /// The data after the last command.
    const Snapshot& getEnd() const;

    /// Whether the last command has changed the data.
    bool hasLastChanged() const;

    /// From now on the first command is told of by @p name.
    void renameFirst(std::string name);

    /// Has the first command stand for itself and the others, which are let go.
    void keepOnlyFirst();

    /// Undoes all, redoes all, and undoes all again. Nothing is redone if a command is not redo-capable.
    /// @throws Mistake, if the data are wrong after one of them.
    void backAndForth() const;

private:
    struct Leg
    {
        std::shared_ptr<CommandBase> command;
        std::string name;
        std::string executed; ///< such as "it was executed"
        Snapshot before;
        Snapshot after;
    };

    void undoAll() const;
    void redoAll() const;
    bool areRedoCapable() const;

    const Trial& trial;
    Snapshot end;
    std::vector<Leg> legs;
};

} // namespace Valdane
