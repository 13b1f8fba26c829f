#include "Service/CommandPattern/OpenGroup.h"

#include "Service/CommandPattern/MacroCommand.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Valdane
{

std::shared_ptr<MacroCommand> WaitingCommands::mergeWith(const std::shared_ptr<CommandBase>& next) const
{
    auto macro = std::make_shared<MacroCommand>(next->getDescription());
    macro->addCommand(next);
    macro->addCommands(commands);
    macro->setUseForwardUndoOrder(useForwardUndoOrder);
    return macro;
}

OpenGroup::OpenGroup(std::string groupDescription) : description(std::move(groupDescription)) {}

void OpenGroup::reserveOne()
{
    if (reserved.empty())
    {
        reserved.emplace_back();
    }
}

void OpenGroup::append(std::shared_ptr<CommandBase> command, std::uint64_t number)
{
    if (!waiting.commands.empty())
    {
        command = waiting.mergeWith(command);
    }
    // Not before: the command may add another one when it is asked for its description.
    reserveOne();
    waiting = {};
    reserved.front() = std::move(command);
    commands.splice(commands.end(), reserved);
    newest = number;
}

std::shared_ptr<CommandBase> OpenGroup::newestCommand() const
{
    return commands.empty() ? nullptr : commands.back();
}

std::shared_ptr<MacroCommand> OpenGroup::makeMacro() const
{
    auto macro = std::make_shared<MacroCommand>(description);
    macro->addCommands(commands);
    macro->addCommands(waiting.commands);
    return macro;
}

ClosedGroup::ClosedGroup(std::list<OpenGroup>& openGroups) noexcept
    : groups(openGroups), depth(openGroups.size() - 1)
{
    group.splice(group.end(), groups, std::prev(groups.end()));
}

ClosedGroup::~ClosedGroup()
{
    reopenUnlessKept();
}

void ClosedGroup::reopenUnlessKept() noexcept
{
    if (!isKept)
    {
        groups.splice(std::next(groups.begin(), static_cast<std::ptrdiff_t>(std::min(depth, groups.size()))),
                      group);
    }
}

} // namespace Valdane
