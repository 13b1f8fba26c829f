#include "Toolkit/Qt/UndoStack.h"

#include "Service/CommandPattern/MacroCommand.h"
#include "Toolkit/Qt/PrefixedAction.h"
#include "Toolkit/Qt/UndoGroup.h"

#include <QScopedValueRollback>
#include <algorithm>
#include <utility>

namespace Valdane
{

namespace
{

// Empty if it is a command of another kind, or was released.
std::shared_ptr<QtCommand> asQtCommand(const std::shared_ptr<const CommandBase>& command)
{
    const auto wrapper = std::dynamic_pointer_cast<QtCommand>(std::const_pointer_cast<CommandBase>(command));
    return wrapper != nullptr && wrapper->get() != nullptr ? wrapper : nullptr;
}

// A text may have two parts: one for lists, and one for actions.
QString actionText(const std::shared_ptr<const CommandBase>& command)
{
    if (const auto wrapper = asQtCommand(command))
    {
        return wrapper->get()->actionText();
    }
    const auto text = QString::fromStdString(command->getDescription());
    return text.section('\n', text.contains('\n') ? 1 : 0);
}

bool isObsolete(const std::shared_ptr<const CommandBase>& command)
{
    const auto wrapper = asQtCommand(command);
    return wrapper != nullptr && wrapper->get()->isObsolete();
}

} // namespace

UndoStack::UndoStack(QObject* parent) : UndoStack(nullptr, parent) {}

UndoStack::UndoStack(CommandManager& commandManager, QObject* parent) : UndoStack(&commandManager, parent) {}

UndoStack::UndoStack(CommandManager* given, QObject* parent)
    : QObject(parent),
      ownManager(given == nullptr ? std::make_unique<CommandManager>() : nullptr),
      commands(given == nullptr ? *ownManager : *given),
      connections{commands.connectToSigHistoryChanged([this](const auto& change) { follow(change); }),
                  commands.connectToSigCommandExecuted([this] { mergeable.clear(); }),
                  commands.connectToSigOpenGroupsChanged([this] { followGroups(); })}
{
    if (auto* parentGroup = qobject_cast<UndoGroup*>(parent))
    {
        parentGroup->addStack(this);
    }
}

UndoStack::~UndoStack()
{
    if (group != nullptr)
    {
        group->removeStack(this);
    }
}

void UndoStack::clear()
{
    if (count() == 0)
    {
        return;
    }
    const bool wasClean = isClean();
    {
        const QScopedValueRollback working(isWorking, true);
        while (!macros.empty())
        {
            commands.endGroup();
        }
        clean.reset();
        commands.clear();
        commands.adjustOnSave(0);
        clean = 0;
    }
    settle(wasClean);
}

void UndoStack::push(QUndoCommand* command)
{
    const auto pushed = std::make_shared<QtCommand>(std::unique_ptr<QUndoCommand>(command));
    if (!command->isObsolete())
    {
        pushed->execute();
    }
    const bool wasClean = isClean();
    const bool isPart = !commands.getOpenGroups().empty();
    {
        const QScopedValueRollback working(isWorking, true);
        if (!isPart)
        {
            commands.forgetRedoCommands();
        }
        const auto target = findMergeTarget();
        if (target != nullptr && target->mergeWith(*pushed))
        {
            pushed->release();
            followMerge(target);
        }
        else if (command->isObsolete())
        {
            return;
        }
        else
        {
            commands.addExecutedCommand(pushed);
            if (!macros.empty())
            {
                mergeable.push_back(pushed);
            }
        }
    }
    if (!isPart)
    {
        settle(wasClean);
    }
}

QString UndoStack::undoText() const
{
    return canUndo() ? actionText(commands.getUndoCommand()) : QString();
}

QString UndoStack::redoText() const
{
    return canRedo() ? actionText(commands.getRedoCommand()) : QString();
}

QString UndoStack::text(int row) const
{
    if (row < 0 || row >= count())
    {
        return {};
    }
    const auto found = commands.getCommand(static_cast<std::uint64_t>(row));
    const auto text = found != nullptr ? found->getDescription() : commands.getOpenGroups().front();
    return QString::fromStdString(text).section('\n', 0, 0);
}

const QUndoCommand* UndoStack::command(int row) const
{
    const auto wrapper =
        asQtCommand(row < 0 ? nullptr : commands.getCommand(static_cast<std::uint64_t>(row)));
    return wrapper == nullptr ? nullptr : wrapper->get();
}

QAction* UndoStack::createUndoAction(QObject* parent, const QString& prefix) const
{
    return createPrefixedUndoAction(*this, parent, prefix);
}

QAction* UndoStack::createRedoAction(QObject* parent, const QString& prefix) const
{
    return createPrefixedRedoAction(*this, parent, prefix);
}

bool UndoStack::isActive() const
{
    return group == nullptr || group->activeStack() == this;
}

void UndoStack::beginMacro(const QString& text)
{
    {
        const QScopedValueRollback working(isWorking, true);
        // First, because it is refused while a threaded command is running.
        commands.beginGroup(text.toStdString());
        macros.push_back(commands.getOpenGroups().size());
        commands.forgetRedoCommands();
    }
    if (macros.size() == 1)
    {
        tellActions();
    }
}

void UndoStack::endMacro()
{
    if (macros.empty())
    {
        qWarning("UndoStack::endMacro(): no matching beginMacro()");
        return;
    }
    const bool wasClean = clean == told;
    {
        const QScopedValueRollback working(isWorking, true);
        const auto text = commands.getOpenGroups().back();
        const auto newest = commands.getUndoCommand();
        commands.endGroup();
        if (commands.getOpenGroups().empty() && commands.getUndoCommand() == newest)
        {
            // A macro without commands is a step, too.
            commands.addExecutedCommand(std::make_shared<MacroCommand>(text));
        }
    }
    if (macros.empty())
    {
        settle(wasClean);
    }
}

void UndoStack::setUndoLimit(int limit)
{
    if (count() > 0)
    {
        qWarning("UndoStack::setUndoLimit(): an undo limit can only be set when the stack is empty");
        return;
    }
    commands.setMaxQueueSize(static_cast<std::uint32_t>(std::max(limit, 0)));
    commands.setUsesMaxQueueSize(limit > 0);
}

void UndoStack::setClean()
{
    if (isRefused("setClean(): cannot set clean"))
    {
        return;
    }
    {
        const QScopedValueRollback working(isWorking, true);
        commands.adjustOnSave(0);
    }
    if (std::exchange(clean, told) != told)
    {
        Q_EMIT cleanChanged(true);
    }
}

void UndoStack::resetClean()
{
    if (std::exchange(clean, std::nullopt) == told && macros.empty())
    {
        Q_EMIT cleanChanged(false);
    }
}

void UndoStack::setIndex(int row)
{
    if (isRefused("setIndex(): cannot set index"))
    {
        return;
    }
    const auto tell = [this]
    {
        if (commands.getPosition() != told)
        {
            settle(isClean());
        }
    };
    try
    {
        const QScopedValueRollback working(isWorking, true);
        int left = std::clamp(row, 0, count()) - static_cast<int>(commands.getPosition());
        for (; left != 0 && step(left > 0); left += left > 0 ? -1 : 1)
        {
        }
    }
    catch (...)
    {
        tell();
        throw;
    }
    tell();
}

void UndoStack::undo()
{
    if (told != 0 && !isRefused("undo(): cannot undo"))
    {
        setIndex(index() - 1);
    }
}

void UndoStack::redo()
{
    if (index() != count() && !isRefused("redo(): cannot redo"))
    {
        setIndex(index() + 1);
    }
}

void UndoStack::setActive(bool active)
{
    if (group != nullptr && (active || isActive()))
    {
        group->setActiveStack(active ? this : nullptr);
    }
}

bool UndoStack::isRefused(const char* operation) const
{
    if (!macros.empty())
    {
        qWarning("UndoStack::%s in the middle of a macro", operation);
    }
    return !macros.empty();
}

// The command that may take in the next one; empty if there is none.
std::shared_ptr<QtCommand> UndoStack::findMergeTarget() const
{
    if (!macros.empty())
    {
        return mergeable.empty() ? nullptr : mergeable.back();
    }
    const bool isOnItsOwn = !commands.getOpenGroups().empty() || clean == commands.getPosition();
    return isOnItsOwn ? nullptr : asQtCommand(commands.getUndoCommand());
}

void UndoStack::followMerge(const std::shared_ptr<QtCommand>& target)
{
    if (macros.empty())
    {
        // Who shows the history is to see that the command has taken in another one.
        const QScopedValueRollback unchanged(clean, {});
        const auto taken = commands.takeLastExecutedCommand();
        commands.addExecutedCommand(isObsolete(taken) ? nullptr : taken);
    }
    else if (isObsolete(target))
    {
        // The group keeps what is left of it, which does nothing.
        target->release();
        mergeable.pop_back();
    }
}

// Undoes or redoes one command. One that is obsolete before or after that leaves the history. False if it failed.
bool UndoStack::step(bool isRedo)
{
    const auto command = isRedo ? commands.getRedoCommand() : commands.getUndoCommand();
    const bool isDone = isObsolete(command) || (isRedo ? commands.redo(1) : commands.undo(1));
    if (!isDone || !isObsolete(command))
    {
        return isDone;
    }
    if (commands.getRedoCommand() == command)
    {
        // Only a command that is done can be taken. The redo() of this one does nothing now.
        asQtCommand(command)->release();
        commands.redo(1);
    }
    if (commands.getUndoCommand() == command)
    {
        const QScopedValueRollback unchanged(clean, {});
        commands.takeLastExecutedCommand();
    }
    if (clean > commands.getPosition())
    {
        // The clean state has the effect of the command.
        resetClean();
    }
    return true;
}

} // namespace Valdane
