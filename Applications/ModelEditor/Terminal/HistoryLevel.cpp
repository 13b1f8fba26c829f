#include "Applications/ModelEditor/Terminal/HistoryLevel.h"

#include "Applications/ModelEditor/Edits/ModelModules.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace ModelEditor
{

using Valdane::CommandBase;
using Valdane::MacroCommand;
using Valdane::VdException;

HistoryLevel::HistoryLevel(Kind levelKind, std::string levelName, std::shared_ptr<ModelModules> modelModules,
                           std::shared_ptr<HistoryActions> undoAndRedo)
    : kind(levelKind),
      name(std::move(levelName)),
      modules(std::move(modelModules)),
      actions(std::move(undoAndRedo))
{
    manager.setModuleAccessInterface(modules);
    failed = manager.connectToSigCommandFailed(
        [this](const char* why, const std::string& description)
        {
            failure = why;
            failedCommand = description;
        });
    activate();
}

HistoryLevel::~HistoryLevel() = default;

HistoryLevel::Kind HistoryLevel::getKind() const noexcept
{
    return kind;
}

const std::string& HistoryLevel::getName() const noexcept
{
    return name;
}

// Merged into one macro, the command queued last would stand first, and be redone before those that it builds
// on. So with others waiting it is made to wait behind them, and settle() queues a command that does nothing.
void HistoryLevel::execute(const std::shared_ptr<CommandBase>& command, const std::string& script)
{
    if (!waiting.empty())
    {
        executeToMerge(command, script);
        settle();
        return;
    }
    if (!manager.addCommand(command))
    {
        modules->resetTo({});
        throw VdException(failure);
    }
    onAdded(script);
}

void HistoryLevel::executeToMerge(const std::shared_ptr<CommandBase>& command, const std::string& script)
{
    const auto changedBefore = modules->getModifiedModulesFromBusiness();
    const auto savedBefore = waiting.empty() ? manager.getSavedPosition(Saved) : savedBeforeWaiting;
    if (!manager.addCommandToMergeWithNextCommand(command, false))
    {
        modules->resetTo(changedBefore);
        throw VdException(failure);
    }
    waiting.push_back({.description = command->getDescription(), .script = script});
    savedBeforeWaiting = savedBefore;
}

// The lines of all that is done to the model would never be asked for.
void HistoryLevel::onAdded(const std::string& script)
{
    if (keepsNothing)
    {
        manager.clear();
    }
    else if (kind != Kind::Model)
    {
        scripts.resize(manager.getPosition() - 1);
        scripts.push_back(script);
    }
}

void HistoryLevel::settle()
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
    manager.addExecutedCommand(std::make_shared<MacroCommand>(waiting.back().description));
    waiting.clear();
    onAdded(script);
}

void HistoryLevel::activate()
{
    document.activate();
}

std::uint64_t HistoryLevel::undo(std::uint64_t most, const StepListener& tell)
{
    return repeat(actions->undo, "undone", most, tell);
}

std::uint64_t HistoryLevel::redo(std::uint64_t most, const StepListener& tell)
{
    return repeat(actions->redo, "redone", most, tell);
}

std::string HistoryLevel::getScript() const
{
    const auto done = static_cast<std::ptrdiff_t>(history.getPosition());
    return std::accumulate(scripts.begin(), scripts.begin() + done, std::string());
}

void HistoryLevel::becomeStepOf(HistoryLevel& outer, const std::string& description,
                                const std::string& script)
{
    const auto changed = manager.getModifiedModules(Saved);
    if (const auto commands = manager.takeExecutedCommands())
    {
        commands->setDescription(description);
        modules->resetTo(changed);
        outer.manager.addExecutedCommand(commands);
        outer.onAdded(script);
    }
}

std::optional<std::uint32_t> HistoryLevel::getLimit() const
{
    if (!manager.usesMaxQueueSize())
    {
        return {};
    }
    return keepsNothing ? 0 : manager.getMaxQueueSize();
}

// A manager whose limit empties its queues forgets what is modified; clear() does not.
std::uint64_t HistoryLevel::setLimit(const std::optional<std::uint32_t>& limit)
{
    settle();
    const auto before = manager.getQueueSize();
    keepsNothing = limit == 0U;
    if (limit && (keepsNothing || *limit < before - manager.getPosition()))
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

const std::vector<HistoryLevel::Waiting>& HistoryLevel::getWaiting() const noexcept
{
    return waiting;
}

bool HistoryLevel::isSaved(std::uint64_t row) const
{
    return waiting.empty() ? history.isSaved(row, Saved) : savedBeforeWaiting == row + 1;
}

std::uint64_t HistoryLevel::repeat(Valdane::HistoryAction& action, const std::string& done,
                                   std::uint64_t most, const StepListener& tell)
{
    settle();
    std::uint64_t steps = 0;
    for (; steps < most && action.isEnabled(); ++steps)
    {
        const std::string step = action.getText();
        if (!action.trigger())
        {
            modules->resetTo({});
            throw VdException("'" + failedCommand + "' cannot be " + done + ": " + failure);
        }
        tell(step);
    }
    return steps;
}

} // namespace ModelEditor
