#include "Service/Editing/UndoAction.h"

#include <utility>

namespace Valdane
{

UndoAction::UndoAction(ActiveHistory& history, HistoryActionTexts texts)
    : HistoryAction(Direction::Undo, history, std::move(texts))
{
}

UndoAction::UndoAction(CommandManager& manager, HistoryActionTexts texts)
    : HistoryAction(Direction::Undo, manager, std::move(texts))
{
}

} // namespace Valdane
