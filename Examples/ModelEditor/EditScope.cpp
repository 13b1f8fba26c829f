#include "Examples/ModelEditor/EditScope.h"

#include "Examples/ModelEditor/ModelModules.h"
#include "Examples/ModelEditor/Works.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <algorithm>
#include <utility>

namespace ModelEditor
{

using Valdane::CommandBase;
using Valdane::CommandCollector;
using Valdane::CommandManager;
using Valdane::MacroCommand;
using Valdane::VdException;

EditScope::EditScope(Kind what, std::shared_ptr<ModelModules> modelModules, StepListener listener)
    : kind(what), modules(std::move(modelModules)), tell(std::move(listener))
{
    manager.setModuleAccessInterface(modules);
    connections.push_back(manager.connectToSigCommandQueueChanged(
        [this](CommandManager::QueueChangeReason reason) { onQueueChanged(reason); }));
    watch(manager);
    if (kind == Kind::Recording)
    {
        collector = std::make_unique<CommandCollector>(manager);
        collector->connect(true);
        watch(*collector->getCommandManager());
    }
}

EditScope::~EditScope() = default;

EditScope::Kind EditScope::getKind() const noexcept
{
    return kind;
}

// Merged into one macro, the command queued last would stand first, and be redone before those that it builds
// on. So with others waiting it is made to wait behind them, and settle() queues a command that does nothing.
void EditScope::execute(const std::shared_ptr<CommandBase>& command, const std::string& script)
{
    if (!waiting.empty())
    {
        executeToMerge(command, script);
        settle();
        return;
    }
    if (!getEntrance().addCommand(command))
    {
        modules->resetTo({});
        throw VdException(failure);
    }
    onAdded(script);
}

void EditScope::executeToMerge(const std::shared_ptr<CommandBase>& command, const std::string& script)
{
    const auto changedBefore = modules->getModifiedModulesFromBusiness();
    if (!getEntrance().addCommandToMergeWithNextCommand(command, false))
    {
        modules->resetTo(changedBefore);
        throw VdException(failure);
    }
    waiting.push_back({.description = command->getDescription(), .script = script});
}

void EditScope::start(const Work& work, const std::string& script, const std::function<void()>& onThreadEnded)
{
    settle();
    underWay = {.script = script};
    auto& entrance = getEntrance();
    entrance.getThreadManager()->setRunEndedCallback(onThreadEnded);
    if (work.macro != nullptr)
    {
        entrance.addThreadedCommand(work.macro);
    }
    else
    {
        entrance.addThreadedCommand(work.command);
    }
    if (entrance.getThreadManager()->getCurrentThread() == nullptr)
    {
        onThreadEnded();
    }
}

// A thread that could not be started, which a macro has passed over, has nothing to wait for.
bool EditScope::goOn()
{
    auto& entrance = getEntrance();
    const auto threads = entrance.getThreadManager();
    if (threads->isRunEnded())
    {
        entrance.finalizeThread();
    }
    while (entrance.getCurrentThreadedCommand() != nullptr && threads->getCurrentThread() == nullptr)
    {
        entrance.finalizeThread();
    }
    if (entrance.getCurrentThreadedCommand() != nullptr)
    {
        return false;
    }
    if (underWay.isAdded)
    {
        onAdded(underWay.script);
        return true;
    }
    modules->resetTo({});
    if (underWay.isFailed)
    {
        // A macro that has failed too often does not say why.
        throw VdException(failure.empty() ? "too many values cannot be changed" : failure);
    }
    return true;
}

void EditScope::abort()
{
    getEntrance().abortThreadedCommand();
}

void EditScope::add(const Contents& contents, const std::string& script)
{
    modules->resetTo(contents.modules);
    getEntrance().addExecutedCommand(contents.commands);
    onAdded(script);
}

void EditScope::settle()
{
    if (waiting.empty())
    {
        return;
    }
    std::string script;
    for (const auto& merged : waiting)
    {
        script += (&merged == &waiting.back() ? "" : "merge ") + merged.script;
    }
    getEntrance().addExecutedCommand(std::make_shared<MacroCommand>(waiting.back().description));
    waiting.clear();
    onAdded(script);
}

std::uint64_t EditScope::undo(std::uint64_t count)
{
    settle();
    steps = 0;
    const bool done = manager.undo(count);
    manager.emitSigUndoRedoProcessCompleted();
    if (!done)
    {
        modules->resetTo({});
        throw VdException("'" + manager.getUndoCommand()->getDescription() +
                          "' cannot be undone: " + failure);
    }
    return steps;
}

std::uint64_t EditScope::redo(std::uint64_t count)
{
    settle();
    steps = 0;
    const bool done = manager.redo(count);
    manager.emitSigUndoRedoProcessCompleted();
    if (!done)
    {
        modules->resetTo({});
        throw VdException("'" + manager.getRedoCommand()->getDescription() +
                          "' cannot be redone: " + failure);
    }
    return steps;
}

EditScope::Contents EditScope::take()
{
    settle();
    Contents contents;
    contents.modules = manager.getModifiedModules(0);
    contents.commands =
        collector == nullptr ? manager.takeExecutedCommands() : collector->getExecutedCommands();
    if (contents.commands == nullptr)
    {
        contents.commands = std::make_shared<MacroCommand>();
    }
    for (const auto& command : *contents.commands)
    {
        contents.script += scripts.at(command.get());
    }
    return contents;
}

std::optional<std::uint32_t> EditScope::getLimit() const
{
    if (!manager.usesMaxQueueSize())
    {
        return {};
    }
    return keepsNothing ? 0 : manager.getMaxQueueSize();
}

// A manager whose limit empties its queues forgets what is modified; clear() does not.
std::uint64_t EditScope::setLimit(const std::optional<std::uint32_t>& limit)
{
    settle();
    const auto before = manager.getQueueSize();
    keepsNothing = limit == 0U;
    if (limit && (keepsNothing || *limit < manager.collectRedoCommandDescriptions().size()))
    {
        manager.clear();
    }
    if (limit)
    {
        manager.setMaxQueueSize(std::max(*limit, 1U));
    }
    manager.setUsesMaxQueueSize(limit.has_value());
    return before - manager.getQueueSize();
}

std::set<const Valdane::Object*> EditScope::getModifiedModules(std::uint64_t tracker) const
{
    return manager.getModifiedModules(tracker);
}

void EditScope::onSaved(std::uint64_t tracker)
{
    manager.adjustOnSave(tracker);
    if (tracker == 0)
    {
        savePoint.onSaved();
    }
}

std::list<std::string> EditScope::getDone() const
{
    auto descriptions = manager.collectUndoCommandDescriptions();
    descriptions.reverse();
    return descriptions;
}

std::list<std::string> EditScope::getUndone() const
{
    return manager.collectRedoCommandDescriptions();
}

std::vector<std::string> EditScope::getWaiting() const
{
    std::vector<std::string> descriptions;
    for (const auto& merged : waiting)
    {
        descriptions.push_back(merged.description);
    }
    return descriptions;
}

std::optional<std::int64_t> EditScope::getDistanceToSaved() const noexcept
{
    return savePoint.getDistance();
}

CommandManager& EditScope::getEntrance()
{
    return collector == nullptr ? manager : *collector->getCommandManager();
}

void EditScope::watch(CommandManager& watched)
{
    connections.push_back(
        watched.connectToSigCommandFailed([this](const char* what, const std::string&) { onFailed(what); }));
}

void EditScope::onFailed(const std::string& what)
{
    failure = what;
    underWay.isFailed = true;
}

void EditScope::onQueueChanged(CommandManager::QueueChangeReason reason)
{
    if (reason == CommandManager::CommandAdded)
    {
        savePoint.onCommandAdded();
        underWay.isAdded = true;
    }
    else if (reason == CommandManager::CommandUndone)
    {
        ++steps;
        savePoint.onUndone();
        tell("Undone: " + manager.getRedoCommand()->getDescription());
    }
    else if (reason == CommandManager::CommandRedone)
    {
        ++steps;
        savePoint.onRedone();
        tell("Redone: " + manager.getUndoCommand()->getDescription());
    }
}

// The lines of all that is done in the whole history would never be asked for.
void EditScope::onAdded(const std::string& script)
{
    if (keepsNothing)
    {
        manager.clear();
    }
    else if (kind != Kind::Whole)
    {
        scripts[manager.getUndoCommand().get()] = script;
    }
}

} // namespace ModelEditor
