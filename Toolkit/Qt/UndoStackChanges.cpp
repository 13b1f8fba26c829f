#include "Service/CommandPattern/HistoryChange.h"
#include "Toolkit/Qt/UndoStack.h"

// How the stack follows its manager, and tells of it.

namespace Valdane
{

// A macro is a group of the manager, whoever ends that.
void UndoStack::followGroups()
{
    mergeable.clear();
    std::erase_if(macros, [open = commands.getOpenGroups().size()](auto depth) { return depth > open; });
}

// Moves the clean index with its state, which is gone if no undo and redo leads there any more.
void UndoStack::follow(const HistoryChange& change)
{
    followGroups();
    const bool wasClean = isClean();
    for (const auto& [first, removed, inserted] : change.rows)
    {
        if (first >= change.positionBefore || removed == inserted)
        {
            // There is a new command, what could be redone is forgotten, or a command has taken in another one.
            clean = clean > first ? std::nullopt : clean;
        }
        else if (first == 0 && inserted == 0 && change.positionAfter != 0)
        {
            // The oldest commands have left because of the limit.
            clean = clean >= removed ? std::optional(*clean - removed) : std::nullopt;
        }
        else if (clean.has_value())
        {
            // Only the manager knows whether the command that was taken is undone.
            clean = commands.getSavedPosition(0);
        }
    }
    if (!isWorking)
    {
        settle(wasClean);
    }
    else if (wasClean && !clean.has_value())
    {
        Q_EMIT cleanChanged(false);
    }
}

void UndoStack::settle(bool wasClean)
{
    told = commands.getPosition();
    Q_EMIT indexChanged(index());
    tellActions();
    if (isClean() != wasClean)
    {
        Q_EMIT cleanChanged(!wasClean);
    }
}

void UndoStack::tellActions()
{
    Q_EMIT canUndoChanged(canUndo());
    Q_EMIT undoTextChanged(undoText());
    Q_EMIT canRedoChanged(canRedo());
    Q_EMIT redoTextChanged(redoText());
}

} // namespace Valdane
