#include "Service/CommandPattern/ChangeTracking.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Valdane
{

const EntryModules EntryModules::none;

EntryModules::~EntryModules() = default;

namespace
{

using SharedModules = boost::intrusive_ptr<const EntryModules>;

bool areShared(const TrackedModules& sets, const TrackedModules& others)
{
    return std::ranges::equal(sets, others, &ModuleSet::isSharedWith);
}

bool areShared(const EntryModules& modules, const EntryModules& others)
{
    return areShared(modules.modulesBefore, others.modulesBefore) &&
           areShared(modules.modulesAfter, others.modulesAfter) &&
           modules.modulesOfCommand.isSharedWith(others.modulesOfCommand);
}

// A handle of these sets, which is that of one of the neighbours where that has the same.
SharedModules share(const EntryModules& modules, const SharedModules& neighbour,
                    const SharedModules& otherNeighbour)
{
    for (const SharedModules& shared : {neighbour, otherNeighbour, SharedModules()})
    {
        if (areShared(modules, shared == nullptr ? EntryModules::none : *shared))
        {
            return shared;
        }
    }
    return new EntryModules(modules);
}

// What the entries of a queue have when one tracker saves. From the back on the sets of that tracker grow,
// from @p first to @p second of each entry.
std::vector<SharedModules> accumulate(const CommandQueue& queue, std::size_t tracker,
                                      TrackedModules EntryModules::*first,
                                      TrackedModules EntryModules::*second)
{
    std::vector<SharedModules> accumulated(queue.size());
    ModuleSet passed;
    SharedModules neighbour;
    for (std::size_t index = queue.size(); index != 0; --index)
    {
        const QueuedCommand& entry = queue[index - 1];
        EntryModules modules = entry.modules();
        (modules.*first)[tracker] = passed;
        passed = passed.unitedWith(modules.modulesOfCommand);
        (modules.*second)[tracker] = passed;
        neighbour = share(modules, entry.sharedModules, neighbour);
        accumulated[index - 1] = neighbour;
    }
    return accumulated;
}

void replace(CommandQueue& queue, std::vector<SharedModules> modules) noexcept
{
    for (std::size_t index = 0; index < queue.size(); ++index)
    {
        queue[index].sharedModules = std::move(modules[index]);
    }
}

} // namespace

void ChangeTracking::keepPosition(const CommandQueue& undoQueue, const CommandQueue& redoQueue)
{
    if (undoQueue.empty() && !redoQueue.empty())
    {
        modulesBeforeFirstCommand = redoQueue.back().modules().modulesBefore;
    }
}

QueuedCommand ChangeTracking::makeEntry(std::shared_ptr<CommandBase>&& command, const ModuleSet& modules,
                                        const CommandQueue& undoQueue) const
{
    const SharedModules neighbour = undoQueue.empty() ? nullptr : undoQueue.back().sharedModules;
    const EntryModules& ofNeighbour = neighbour == nullptr ? EntryModules::none : *neighbour;
    const TrackedModules& before = undoQueue.empty() ? modulesBeforeFirstCommand : ofNeighbour.modulesAfter;
    if (modules.isEmpty() && areShared(before, EntryModules::none.modulesBefore))
    {
        return {std::move(command), nullptr};
    }
    EntryModules made;
    made.modulesBefore = before;
    made.modulesAfter.fill(made.modulesBefore.front().unitedWith(modules));
    for (std::size_t tracker = 1; tracker < made.modulesAfter.size(); ++tracker)
    {
        if (!made.modulesBefore[tracker].isSharedWith(made.modulesBefore.front()))
        {
            made.modulesAfter[tracker] = made.modulesBefore[tracker].unitedWith(modules);
        }
    }
    made.modulesOfCommand = modules == ofNeighbour.modulesOfCommand ? ofNeighbour.modulesOfCommand : modules;
    SharedModules shared = share(made, neighbour, nullptr);
    // Last, so that the command stays with the caller if anything fails.
    return {std::move(command), std::move(shared)};
}

const ModuleSet& ChangeTracking::modulesAtPosition(std::size_t tracker, const CommandQueue& undoQueue,
                                                   const CommandQueue& redoQueue) const
{
    if (!undoQueue.empty())
    {
        return undoQueue.back().modules().modulesAfter[tracker];
    }
    return redoQueue.empty() ? modulesBeforeFirstCommand[tracker]
                             : redoQueue.back().modules().modulesBefore[tracker];
}

void ChangeTracking::adjustOnSave(std::size_t tracker, CommandQueue& undoQueue, CommandQueue& redoQueue)
{
    std::vector<SharedModules> undone =
        accumulate(undoQueue, tracker, &EntryModules::modulesAfter, &EntryModules::modulesBefore);
    std::vector<SharedModules> redone =
        accumulate(redoQueue, tracker, &EntryModules::modulesBefore, &EntryModules::modulesAfter);
    // From here on nothing fails.
    if (undoQueue.empty())
    {
        modulesBeforeFirstCommand[tracker] = ModuleSet();
    }
    replace(undoQueue, std::move(undone));
    replace(redoQueue, std::move(redone));
}

} // namespace Valdane
