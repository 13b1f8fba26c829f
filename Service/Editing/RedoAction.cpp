#include "Service/Editing/RedoAction.h"

#include <utility>

namespace Valdane
{

RedoAction::RedoAction(ActiveHistory& history, HistoryActionTexts texts)
    : HistoryAction(Direction::Redo, history, std::move(texts))
{
}

RedoAction::RedoAction(CommandManager& manager, HistoryActionTexts texts)
    : HistoryAction(Direction::Redo, manager, std::move(texts))
{
}

} // namespace Valdane
