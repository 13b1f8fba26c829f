#pragma once

#include "Service/Editing/ActiveHistory.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/UndoAction.h"

namespace ModelEditor
{

/// Undo and redo of the whole program, which concern the history that is active: that of the current file, or of the
/// innermost group or recording in it.
///
/// Thread: the application's main thread only.
struct HistoryActions
{
    Valdane::ActiveHistory active;
    Valdane::UndoAction undo{active, {.pattern = "Undone: %1", .plain = "Undone"}};
    Valdane::RedoAction redo{active, {.pattern = "Redone: %1", .plain = "Redone"}};
};

} // namespace ModelEditor
