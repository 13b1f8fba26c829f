#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Toolkit/Qt/QtExport.h"

#include <QUndoCommand>
#include <memory>
#include <string>

namespace Valdane
{

/// A `QUndoCommand` as a command of a CommandManager: existing ones run as they are.
///
///     manager.addOrMergeCommand(std::make_shared<QtCommand>(std::make_unique<MoveItem>(item, place)));
///
/// execute() and redo() call `QUndoCommand::redo()`. An UndoStack
/// drops a command that is obsolete; a manager keeps it.
///
/// Failures: what the command throws passes to the manager, which reports it.
/// Thread: as CommandBase.
class VALDANE_QT_EXPORT QtCommand : public CommandBase, public MergeableCommand
{
public:
    /// @param wrapped  not empty, and without a parent. @throws VdException if it is empty.
    explicit QtCommand(std::unique_ptr<QUndoCommand> wrapped);

    /// Calls `QUndoCommand::redo()`.
    void execute() override;
    /// Calls `QUndoCommand::undo()`.
    void undo() override;

    /// `QUndoCommand::text()` in UTF-8, unless a description was set. The reference is valid until the next
    /// call.
    const std::string& getDescription() const override;

    /// Asks `QUndoCommand::mergeWith()` if @p next is a QtCommand whose `id()` is the same and not -1.
    bool mergeWith(const CommandBase& next) override;

    /// The command; null only after release().
    QUndoCommand* get() const
    {
        return command.get();
    }

    /// Destroys the command. What is left does nothing.
    void release()
    {
        command.reset();
    }

private:
    std::unique_ptr<QUndoCommand> command;
    mutable std::string text;
};

} // namespace Valdane
