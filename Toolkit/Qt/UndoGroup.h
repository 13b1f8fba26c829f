#pragma once

#include "Toolkit/Qt/QtExport.h"

#include <QList>
#include <QObject>
#include <QString>

class QAction;

namespace Valdane
{

class UndoStack;

/// The interface of the toolkit's undo group for stacks of type UndoStack: one of them is active, and the group's
/// actions and signals are those of that one. New code is better served by ActiveHistory.
///
/// Ownership: none of the stacks. A stack or the group may be destroyed first.
/// Thread: as CommandManager.
class VALDANE_QT_EXPORT UndoGroup : public QObject
{
    Q_OBJECT

public:
    /// Has no stacks. A stack that is made as a child of the group is added to it.
    explicit UndoGroup(QObject* parent = nullptr);
    ~UndoGroup() override;

    /// Takes @p stack out of the group that it is in.
    void addStack(UndoStack* stack);

    /// No stack is active then, if it was this one.
    void removeStack(UndoStack* stack);

    /// In the order in which they were added.
    QList<UndoStack*> stacks() const;

    /// Null if none is active.
    UndoStack* activeStack() const;

    /// As UndoStack::createUndoAction(), for whichever stack is active.
    QAction* createUndoAction(QObject* parent, const QString& prefix = {}) const;
    /// The same for redo().
    QAction* createRedoAction(QObject* parent, const QString& prefix = {}) const;

    /// That of the active stack; false without one.
    bool canUndo() const;
    /// That of the active stack; false without one.
    bool canRedo() const;
    /// That of the active stack; empty without one.
    QString undoText() const;
    /// That of the active stack; empty without one.
    QString redoText() const;
    /// That of the active stack; true without one.
    bool isClean() const;

public Q_SLOTS:
    /// UndoStack::undo() of the active stack.
    void undo();
    /// UndoStack::redo() of the active stack.
    void redo();

    /// @param stack  null, or one that this group has been given.
    void setActiveStack(UndoStack* stack);

Q_SIGNALS:
    /// After another stack, or none, became active, and all other signals have told its state.
    void activeStackChanged(UndoStack* stack);
    /// That of the active stack, as are the others.
    void indexChanged(int index);
    /// That of the active stack.
    void cleanChanged(bool clean);
    /// That of the active stack.
    void canUndoChanged(bool canUndo);
    /// That of the active stack.
    void canRedoChanged(bool canRedo);
    /// That of the active stack.
    void undoTextChanged(const QString& undoText);
    /// That of the active stack.
    void redoTextChanged(const QString& redoText);

private:
    void tellState();

    QList<UndoStack*> members;
    UndoStack* active = nullptr;
};

} // namespace Valdane
