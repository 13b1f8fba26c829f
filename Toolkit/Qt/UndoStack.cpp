#include "Toolkit/Qt/UndoStack.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Toolkit/Qt/PrefixedAction.h"
#include "Toolkit/Qt/QtCommand.h"
#include "Toolkit/Qt/UndoGroup.h"

#include <QScopedValueRollback>
#include <QUndoCommand>
#include <algorithm>
#include <utility>

namespace Valdane
{

namespace
{

// A text may have two parts: one for lists, and one for actions.
QString listText(const std::string& description)
{
    return QString::fromStdString(description).section('\n', 0, 0);
}

QString actionText(const CommandBase* command)
{
    if (command == nullptr)
    {
        return {};
    }
    const auto* wrapper = dynamic_cast<const QtCommand*>(command);
    if (wrapper != nullptr && wrapper->get() != nullptr)
    {
        return wrapper->get()->actionText();
    }
    const auto text = QString::fromStdString(command->getDescription());
    return text.section('\n', text.contains('\n') ? 1 : 0);
}

bool isObsolete(const CommandBase* command)
{
    const auto* wrapper = dynamic_cast<const QtCommand*>(command);
    return wrapper != nullptr && wrapper->get() != nullptr && wrapper->get()->isObsolete();
}

} // namespace

UndoStack::UndoStack(QObject* parent) : UndoStack(std::make_unique<CommandManager>(), nullptr, parent) {}

UndoStack::UndoStack(CommandManager& commandManager, QObject* parent)
    : UndoStack(nullptr, &commandManager, parent)
{
}

UndoStack::UndoStack(std::unique_ptr<CommandManager> own, CommandManager* others, QObject* parent)
    : QObject(parent),
      ownManager(std::move(own)),
      commands(others == nullptr ? *ownManager : *others),
      told(static_cast<int>(commands.getPosition())),
      clean(told),
      changed(commands.connectToSigHistoryChanged([this](const HistoryChange& change) { follow(change); }))
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

CommandManager& UndoStack::manager() const
{
    return commands;
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
        for (; !macros.empty(); macros.pop_back())
        {
            commands.endGroup();
        }
        commands.clear();
        commands.adjustOnSave(0);
    }
    told = 0;
    clean = 0;
    tellIndex();
    if (!wasClean)
    {
        Q_EMIT cleanChanged(true);
    }
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
            if (!macros.empty())
            {
                if (isObsolete(target.get()))
                {
                    // The group keeps what is left of it, which does nothing.
                    target->release();
                    macros.back().pop_back();
                }
                return;
            }
            isObsolete(target.get()) ? takeNewest() : replaceNewest();
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
                macros.back().push_back(pushed);
            }
        }
    }
    if (!isPart)
    {
        settle(wasClean);
    }
}

bool UndoStack::canUndo() const
{
    return commands.canUndo();
}

bool UndoStack::canRedo() const
{
    return commands.canRedo();
}

QString UndoStack::undoText() const
{
    return canUndo() ? actionText(commands.getUndoCommand().get()) : QString();
}

QString UndoStack::redoText() const
{
    return canRedo() ? actionText(commands.getRedoCommand().get()) : QString();
}

int UndoStack::count() const
{
    return static_cast<int>(commands.getQueueSize()) + (macros.empty() ? 0 : 1);
}

int UndoStack::index() const
{
    return told;
}

QString UndoStack::text(int row) const
{
    if (row < 0 || row >= count())
    {
        return {};
    }
    const auto command = commands.getCommand(static_cast<std::uint64_t>(row));
    return listText(command != nullptr ? command->getDescription() : commands.getOpenGroups().front());
}

const QUndoCommand* UndoStack::command(int row) const
{
    const auto found = row < 0 ? nullptr : commands.getCommand(static_cast<std::uint64_t>(row));
    const auto* wrapper = dynamic_cast<const QtCommand*>(found.get());
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

bool UndoStack::isClean() const
{
    return macros.empty() && clean == told;
}

int UndoStack::cleanIndex() const
{
    return clean;
}

void UndoStack::beginMacro(const QString& text)
{
    const QScopedValueRollback working(isWorking, true);
    if (macros.empty())
    {
        commands.forgetRedoCommands();
    }
    // It is refused while a threaded command is running; then no macro is open.
    commands.beginGroup(text.toStdString());
    if (!macros.empty())
    {
        macros.back().emplace_back();
    }
    macros.emplace_back();
    if (macros.size() == 1)
    {
        Q_EMIT canUndoChanged(false);
        Q_EMIT undoTextChanged(QString());
        Q_EMIT canRedoChanged(false);
        Q_EMIT redoTextChanged(QString());
    }
}

void UndoStack::endMacro()
{
    if (macros.empty())
    {
        qWarning("UndoStack::endMacro(): no matching beginMacro()");
        return;
    }
    const bool isOutermost = macros.size() == 1;
    const bool wasClean = isOutermost && clean == told;
    {
        const QScopedValueRollback working(isWorking, true);
        const auto text = commands.getOpenGroups().back();
        const auto newest = commands.getUndoCommand();
        commands.endGroup();
        macros.pop_back();
        if (commands.getOpenGroups().empty() && commands.getUndoCommand() == newest)
        {
            // A macro without commands is a step, too.
            commands.addExecutedCommand(std::make_shared<MacroCommand>(text));
        }
    }
    if (isOutermost)
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

int UndoStack::undoLimit() const
{
    return commands.usesMaxQueueSize() ? static_cast<int>(commands.getMaxQueueSize()) : 0;
}

void UndoStack::setClean()
{
    if (!macros.empty())
    {
        qWarning("UndoStack::setClean(): cannot set clean in the middle of a macro");
        return;
    }
    const bool wasClean = isClean();
    {
        const QScopedValueRollback working(isWorking, true);
        commands.adjustOnSave(0);
    }
    clean = told;
    if (!wasClean)
    {
        Q_EMIT cleanChanged(true);
    }
}

void UndoStack::resetClean()
{
    const bool wasClean = isClean();
    clean = -1;
    if (wasClean)
    {
        Q_EMIT cleanChanged(false);
    }
}

void UndoStack::setIndex(int row)
{
    if (!macros.empty())
    {
        qWarning("UndoStack::setIndex(): cannot set index in the middle of a macro");
        return;
    }
    auto wanted = static_cast<std::uint64_t>(std::clamp(row, 0, count()));
    {
        const QScopedValueRollback working(isWorking, true);
        while (commands.getPosition() < wanted && stepForward(wanted))
        {
        }
        while (commands.getPosition() > wanted && stepBack())
        {
        }
    }
    if (static_cast<int>(commands.getPosition()) != told)
    {
        settle(clean == told);
    }
}

void UndoStack::undo()
{
    if (told == 0)
    {
        return;
    }
    if (!macros.empty())
    {
        qWarning("UndoStack::undo(): cannot undo in the middle of a macro");
        return;
    }
    setIndex(told - 1);
}

void UndoStack::redo()
{
    if (told == count())
    {
        return;
    }
    if (!macros.empty())
    {
        qWarning("UndoStack::redo(): cannot redo in the middle of a macro");
        return;
    }
    setIndex(told + 1);
}

void UndoStack::setActive(bool active)
{
    if (group != nullptr)
    {
        if (active)
        {
            group->setActiveStack(this);
        }
        else if (group->activeStack() == this)
        {
            group->setActiveStack(nullptr);
        }
    }
}

// The command that may take in the next one; empty if there is none.
std::shared_ptr<QtCommand> UndoStack::findMergeTarget() const
{
    if (!macros.empty())
    {
        return macros.back().empty() ? nullptr : macros.back().back();
    }
    if (!commands.getOpenGroups().empty() || clean == static_cast<int>(commands.getPosition()))
    {
        return nullptr;
    }
    return std::const_pointer_cast<QtCommand>(
        std::dynamic_pointer_cast<const QtCommand>(commands.getUndoCommand()));
}

// The newest command has taken in another one: who shows the history is to see that.
void UndoStack::replaceNewest()
{
    const QScopedValueRollback taking(isTaking, true);
    commands.addExecutedCommand(commands.takeLastExecutedCommand());
}

void UndoStack::takeNewest()
{
    const QScopedValueRollback taking(isTaking, true);
    commands.takeLastExecutedCommand();
}

bool UndoStack::stepBack()
{
    if (isObsolete(commands.getUndoCommand().get()))
    {
        dropNewest();
        return true;
    }
    if (!commands.undo(1))
    {
        return false;
    }
    if (isObsolete(commands.getRedoCommand().get()))
    {
        dropUndone();
    }
    return true;
}

bool UndoStack::stepForward(std::uint64_t& wanted)
{
    if (isObsolete(commands.getRedoCommand().get()))
    {
        dropUndone();
        --wanted;
        return true;
    }
    if (!commands.redo(1))
    {
        return false;
    }
    if (isObsolete(commands.getUndoCommand().get()))
    {
        dropNewest();
        --wanted;
    }
    return true;
}

// The next command to redo is obsolete.
void UndoStack::dropUndone()
{
    // Only a command that is done can be taken. The redo() of this one does nothing now.
    const auto undone = std::const_pointer_cast<CommandBase>(commands.getRedoCommand());
    std::static_pointer_cast<QtCommand>(undone)->release();
    commands.redo(1);
    dropNewest();
}

// The newest command is obsolete. The clean state is gone if it has its effect.
void UndoStack::dropNewest()
{
    takeNewest();
    if (clean > static_cast<int>(commands.getPosition()))
    {
        resetClean();
    }
}

void UndoStack::follow(const HistoryChange& change)
{
    const bool wasClean = isClean();
    if (!isTaking)
    {
        followClean(change);
    }
    if (!isWorking)
    {
        settle(wasClean);
    }
}

// Moves the clean index with its state, which is gone if no undo and redo leads there any more.
void UndoStack::followClean(const HistoryChange& change)
{
    auto position = static_cast<int>(change.positionBefore);
    for (const RowChange& rows : change.rows)
    {
        const auto first = static_cast<int>(rows.first);
        const auto removed = static_cast<int>(rows.removed);
        const auto inserted = static_cast<int>(rows.inserted);
        if (first >= position || removed == inserted)
        {
            clean = clean > first ? -1 : clean;
            position += first == position ? inserted : 0;
            continue;
        }
        const bool areOldest = first == 0 && inserted == 0;
        if (areOldest && removed <= position)
        {
            clean = std::max(clean - removed, -1);
        }
        else
        {
            clean = areOldest && clean == position ? 0 : -1;
        }
        position += inserted - std::min(removed, position);
    }
}

void UndoStack::settle(bool wasClean)
{
    told = static_cast<int>(commands.getPosition());
    tellIndex();
    if (isClean() != wasClean)
    {
        Q_EMIT cleanChanged(!wasClean);
    }
}

void UndoStack::tellIndex()
{
    Q_EMIT indexChanged(told);
    Q_EMIT canUndoChanged(canUndo());
    Q_EMIT undoTextChanged(undoText());
    Q_EMIT canRedoChanged(canRedo());
    Q_EMIT redoTextChanged(redoText());
}

} // namespace Valdane
