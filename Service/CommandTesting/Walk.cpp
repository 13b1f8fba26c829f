#include "Service/CommandTesting/Walk.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <algorithm>
#include <ranges>
#include <utility>

namespace Valdane
{

Walk::Walk(const Trial& walkedTrial) : trial(walkedTrial), end(walkedTrial.takeSnapshot()) {}

void Walk::execute(std::shared_ptr<CommandBase> command, const std::string& name)
{
    Mistake::guard("execute() of " + name, [&] { command->execute(); });
    const Snapshot before = std::exchange(end, trial.takeSnapshot());
    legs.push_back({std::move(command), name, "it was executed", before, end});
}

const Snapshot& Walk::getEnd() const
{
    return end;
}

bool Walk::hasLastChanged() const
{
    return !(legs.back().before == end);
}

void Walk::renameFirst(std::string name)
{
    legs.front().name = std::move(name);
}

void Walk::keepOnlyFirst()
{
    legs.front().executed = "both were executed";
    legs.front().after = end;
    legs.erase(legs.begin() + 1, legs.end());
}

void Walk::backAndForth() const
{
    undoAll();
    if (areRedoCapable())
    {
        redoAll();
        undoAll();
    }
}

void Walk::undoAll() const
{
    for (const Leg& leg : std::views::reverse(legs))
    {
        Mistake::guard("undo() of " + leg.name, [&] { leg.command->undo(); });
        trial.expect(leg.before, "After undo() of " + leg.name, "as before " + leg.executed);
    }
}

void Walk::redoAll() const
{
    for (const Leg& leg : legs)
    {
        Mistake::guard("redo() of " + leg.name, [&] { leg.command->redo(); });
        trial.expect(leg.after, "After redo() of " + leg.name, "as after " + leg.executed);
    }
}

bool Walk::areRedoCapable() const
{
    bool areAll = true;
    Mistake::guard(
        "isRedoCapable()", [&]
        { areAll = std::ranges::all_of(legs, [](const Leg& leg) { return leg.command->isRedoCapable(); }); });
    return areAll;
}

} // namespace Valdane
