#include "Toolkit/Qt/UndoGroup.h"

#include "Toolkit/Qt/PrefixedAction.h"
#include "Toolkit/Qt/UndoStack.h"

namespace Valdane
{

UndoGroup::UndoGroup(QObject* parent) : QObject(parent) {}

UndoGroup::~UndoGroup()
{
    for (UndoStack* stack : members)
    {
        stack->group = nullptr;
    }
}

void UndoGroup::addStack(UndoStack* stack)
{
    if (members.contains(stack))
    {
        return;
    }
    if (stack->group != nullptr)
    {
        stack->group->removeStack(stack);
    }
    members.append(stack);
    stack->group = this;
}

void UndoGroup::removeStack(UndoStack* stack)
{
    if (members.removeAll(stack) == 0)
    {
        return;
    }
    if (stack == active)
    {
        setActiveStack(nullptr);
    }
    stack->group = nullptr;
}

QList<UndoStack*> UndoGroup::stacks() const
{
    return members;
}

UndoStack* UndoGroup::activeStack() const
{
    return active;
}

QAction* UndoGroup::createUndoAction(QObject* parent, const QString& prefix) const
{
    return createPrefixedUndoAction(*this, parent, prefix);
}

QAction* UndoGroup::createRedoAction(QObject* parent, const QString& prefix) const
{
    return createPrefixedRedoAction(*this, parent, prefix);
}

bool UndoGroup::canUndo() const
{
    return active != nullptr && active->canUndo();
}

bool UndoGroup::canRedo() const
{
    return active != nullptr && active->canRedo();
}

QString UndoGroup::undoText() const
{
    return active == nullptr ? QString() : active->undoText();
}

QString UndoGroup::redoText() const
{
    return active == nullptr ? QString() : active->redoText();
}

bool UndoGroup::isClean() const
{
    return active == nullptr || active->isClean();
}

void UndoGroup::undo()
{
    if (active != nullptr)
    {
        active->undo();
    }
}

void UndoGroup::redo()
{
    if (active != nullptr)
    {
        active->redo();
    }
}

void UndoGroup::setActiveStack(UndoStack* stack)
{
    if (active == stack)
    {
        return;
    }
    if (active != nullptr)
    {
        disconnect(active, nullptr, this, nullptr);
    }
    active = stack;
    if (active != nullptr)
    {
        connect(active, &UndoStack::canUndoChanged, this, &UndoGroup::canUndoChanged);
        connect(active, &UndoStack::undoTextChanged, this, &UndoGroup::undoTextChanged);
        connect(active, &UndoStack::canRedoChanged, this, &UndoGroup::canRedoChanged);
        connect(active, &UndoStack::redoTextChanged, this, &UndoGroup::redoTextChanged);
        connect(active, &UndoStack::indexChanged, this, &UndoGroup::indexChanged);
        connect(active, &UndoStack::cleanChanged, this, &UndoGroup::cleanChanged);
    }
    tellState();
    Q_EMIT activeStackChanged(active);
}

void UndoGroup::tellState()
{
    Q_EMIT canUndoChanged(canUndo());
    Q_EMIT undoTextChanged(undoText());
    Q_EMIT canRedoChanged(canRedo());
    Q_EMIT redoTextChanged(redoText());
    Q_EMIT cleanChanged(isClean());
    Q_EMIT indexChanged(active == nullptr ? 0 : active->index());
}

} // namespace Valdane
