#pragma once

#include "Service/Editing/HistoryAction.h"
#include "Toolkit/Qt/QtExport.h"

class QAction;
class QObject;

namespace Valdane
{

class ActiveHistory;
class CommandManager;

/// Actions for menus, toolbars and shortcuts that undo and redo.
///
///     menu.addAction(createUndoAction(history, this));
///     menu.addAction(createRedoAction(history, this));
///
/// They have the text of the step ("Undo Rename pump"), the shortcuts and the icon of the platform, and are enabled while
/// UndoAction and RedoAction are.
///
/// Texts: in @p texts, `%1` is the description of the step. Without texts of their own, "Undo %1", "Undo", "Redo %1" and "Redo"
/// in the context "Valdane::UndoRedoActions" of the application's translations.
///
/// Failures: the manager reports a step that fails. What else is thrown ends in a line of qWarning(), because no exception
/// may pass through the event loop.
///
/// Ownership: @p parent owns the action. The history, or the manager, may be destroyed before the action if nobody triggers
/// it in between; so it can be a member of the window whose children the actions are.
/// Thread: the GUI thread, which must be the manager's.
VALDANE_QT_EXPORT QAction* createUndoAction(ActiveHistory& history, QObject* parent);
VALDANE_QT_EXPORT QAction* createUndoAction(ActiveHistory& history, QObject* parent,
                                            HistoryActionTexts texts);
VALDANE_QT_EXPORT QAction* createUndoAction(CommandManager& manager, QObject* parent);
VALDANE_QT_EXPORT QAction* createUndoAction(CommandManager& manager, QObject* parent,
                                            HistoryActionTexts texts);
VALDANE_QT_EXPORT QAction* createRedoAction(ActiveHistory& history, QObject* parent);
VALDANE_QT_EXPORT QAction* createRedoAction(ActiveHistory& history, QObject* parent,
                                            HistoryActionTexts texts);
VALDANE_QT_EXPORT QAction* createRedoAction(CommandManager& manager, QObject* parent);
VALDANE_QT_EXPORT QAction* createRedoAction(CommandManager& manager, QObject* parent,
                                            HistoryActionTexts texts);

} // namespace Valdane
