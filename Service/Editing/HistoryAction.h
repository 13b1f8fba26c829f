#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/Editing/EditingExport.h"

#include <memory>
#include <string>

namespace Valdane
{

class ActiveHistory;
class CommandManager;

/// The texts of an undo or redo action, in the user's language.
struct HistoryActionTexts
{
    /// With each `%1` replaced by the description of the command, such as "Undo %1".
    std::string pattern;
    /// If there is nothing to undo or redo, or the command has no description, such as "Undo".
    std::string plain;

    /// Whether both are the same texts.
    bool operator==(const HistoryActionTexts&) const = default;
};

/// What UndoAction and RedoAction have in common. They show and do what a menu entry or a toolbar button for
/// undo or redo needs, so that a toolkit connects both in the same way.
///
/// Text and state are always asked of the active manager, so that they are never out of date.
///
/// Re-entrancy: a slot may do whatever a slot of the manager may, trigger the action, and destroy it.
/// Ownership: the ActiveHistory, or the manager, must outlive the action.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT HistoryAction
{
public:
    HistoryAction(const HistoryAction&) = delete;
    HistoryAction& operator=(const HistoryAction&) = delete;

    /// What the entry says, in UTF-8. @throws what CommandBase::getDescription() throws.
    std::string getText() const;

    /// Whether there is something to undo or redo in the active manager, no group is open, and no threaded
    /// command is running.
    bool isEnabled() const;

    /// Undoes or redoes one command of the active manager. Does nothing if the action is not enabled.
    /// @return whether it was done; what CommandManager::undo() or redo() answers.
    /// @throws what these throw.
    bool trigger();

    /// Replaces the texts, if the user chooses another language. @throws what slots throw.
    void setTexts(HistoryActionTexts newTexts);

    /// Emits the signal if the action has changed without it. Call it after a change that the manager does not
    /// tell: a command got another description.
    /// @throws what slots throw.
    void update();

    /// After the text changed or the action became enabled or disabled; once for both.
    [[nodiscard]] Signals::Connection connectToSigChanged(const Signals::Slot<void()>& slot);

protected:
    /// What the action does.
    enum class Direction
    {
        Undo, ///< it undoes
        Redo, ///< it redoes
    };

    /// Follows @p history, whichever manager is active there.
    HistoryAction(Direction direction, ActiveHistory& history, HistoryActionTexts texts);

    /// Acts on @p manager only.
    HistoryAction(Direction direction, CommandManager& manager, HistoryActionTexts texts);

    ~HistoryAction();

private:
    class VALDANE_EDITING_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane
