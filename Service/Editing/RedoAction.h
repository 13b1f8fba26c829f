#pragma once

#include "Service/Editing/EditingExport.h"
#include "Service/Editing/HistoryAction.h"

namespace Valdane
{

/// The action that redoes one command: its text, whether it is enabled, and what it does.
///
///     RedoAction action(history, {.pattern = tr("Redo %1"), .plain = tr("Redo")});
///     const auto shown = action.connectToSigChanged(
///         [&]
///         {
///             button.setText(action.getText());
///             button.setEnabled(action.isEnabled());
///         });
///     button.onClick = [&] { action.trigger(); };
///
/// All else is said at HistoryAction.
class VALDANE_EDITING_EXPORT RedoAction : public HistoryAction
{
public:
    /// Follows @p history, whichever manager is active there.
    explicit RedoAction(ActiveHistory& history, HistoryActionTexts texts = {"Redo %1", "Redo"});

    /// Acts on @p manager only.
    explicit RedoAction(CommandManager& manager, HistoryActionTexts texts = {"Redo %1", "Redo"});
};

} // namespace Valdane
