#pragma once

#include "Service/Editing/EditingExport.h"
#include "Service/Editing/HistoryAction.h"

namespace Valdane
{

/// The action that undoes one command: its text, whether it is enabled, and what it does.
///
///     UndoAction action(history, {.pattern = tr("Undo %1"), .plain = tr("Undo")});
///     const auto shown = action.connectToSigChanged(
///         [&]
///         {
///             button.setText(action.getText());
///             button.setEnabled(action.isEnabled());
///         });
///     button.onClick = [&] { action.trigger(); };
///
/// All else is said at HistoryAction.
class VALDANE_EDITING_EXPORT UndoAction : public HistoryAction
{
public:
    /// Follows @p history, whichever manager is active there.
    explicit UndoAction(ActiveHistory& history, HistoryActionTexts texts = {"Undo %1", "Undo"});

    /// Acts on @p manager only.
    explicit UndoAction(CommandManager& manager, HistoryActionTexts texts = {"Undo %1", "Undo"});
};

} // namespace Valdane
