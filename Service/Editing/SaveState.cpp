#include "Service/Editing/SaveState.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace Valdane
{

namespace
{

// Rows of the history from first on, up to but not with last.
struct Rows
{
    std::uint64_t first;
    std::uint64_t last;
};

std::uint64_t moveBranch(std::uint64_t branch, const RowChange& change)
{
    // Rows come at the end of the history only, so the branch is before them: what took in another command
    // may have what is not saved.
    const std::uint64_t removedBefore =
        std::clamp(branch, change.first, change.first + change.removed) - change.first;
    return branch - removedBefore;
}

bool isRemoval(const RowChange& row)
{
    return row.removed != 0;
}

// Whether commands that left the history may have been on the path. A command that came and left in the same
// change has no row.
bool mayTouch(const HistoryChange& change, const Rows& path)
{
    const auto touches = [&](const RowChange& row)
    {
        return isRemoval(row) && row.first < path.last && path.first < row.first + row.removed;
    };
    return std::ranges::any_of(change.rows, touches) || std::ranges::none_of(change.rows, isRemoval);
}

// Collects the modules in the order in which they come.
class UnsavedModules
{
public:
    UnsavedModule& at(const Object* module)
    {
        const auto [place, isNew] = places.try_emplace(module, modules.size());
        if (isNew)
        {
            modules.push_back({.module = module, .commands = {}, .hasOtherChanges = false});
        }
        return modules[place->second];
    }

    void add(const std::set<const Object*>& modulesOfCommand, const UnsavedCommand& command)
    {
        for (const Object* module : modulesOfCommand)
        {
            at(module).commands.push_back(command);
        }
        if (modulesOfCommand.empty())
        {
            at(nullptr).commands.push_back(command);
        }
    }

    void addOthers(const std::set<const Object*>& others)
    {
        for (const Object* module : others)
        {
            at(module).hasOtherChanges = true;
        }
    }

    bool contains(const Object* module) const
    {
        return places.contains(module);
    }

    std::vector<UnsavedModule> take()
    {
        return std::move(modules);
    }

private:
    std::vector<UnsavedModule> modules;
    std::map<const Object*, std::size_t> places;
};

} // namespace

SaveState::SaveState(CommandManager& commandManager) : manager(commandManager)
{
    for (std::uint64_t tracker = 0; tracker < trackers.size(); ++tracker)
    {
        if (manager.getQueueSize() == 0 && manager.getOpenGroups().empty() &&
            !manager.getSavedPosition(tracker).has_value() && manager.getModifiedModules(tracker).empty())
        {
            manager.adjustOnSave(tracker);
        }
        trackers[tracker].branch = manager.getSavedPosition(tracker).value_or(0);
        trackers[tracker].wasModified = isModified(tracker);
    }
    connection = manager.connectToSigHistoryChanged([this](const HistoryChange& change) { follow(change); });
}

SaveState::~SaveState() = default;

bool SaveState::isModified(std::uint64_t tracker) const
{
    requireTracker(tracker);
    return trackers[tracker].isOfUnfinishedMacro ||
           manager.getSavedPosition(tracker) != manager.getPosition() ||
           !manager.getModifiedModules(tracker).empty();
}

std::vector<UnsavedModule> SaveState::unsavedChanges(std::uint64_t tracker) const
{
    if (!isModified(tracker))
    {
        return {};
    }
    const Tracked& tracked = trackers[tracker];
    const std::uint64_t position = manager.getPosition();
    const std::uint64_t branch =
        std::min(manager.getSavedPosition(tracker).value_or(tracked.branch), manager.getQueueSize());
    UnsavedModules modules;
    for (std::uint64_t index = std::min(branch, position); index < std::max(branch, position); ++index)
    {
        modules.add(
            manager.getModulesOfCommand(index),
            {.description = manager.getCommand(index)->getDescription(), .isUndone = index >= position});
    }
    for (const Object* module : manager.getModifiedModules(tracker))
    {
        if (!modules.contains(module))
        {
            modules.at(module).hasOtherChanges = true;
        }
    }
    if (!manager.getSavedPosition(tracker).has_value())
    {
        modules.addOthers(tracked.modulesOfGone);
        modules.addOthers(tracked.modulesAtSave);
    }
    std::vector<UnsavedModule> unsaved = modules.take();
    if (unsaved.empty())
    {
        unsaved.push_back({.module = nullptr, .commands = {}, .hasOtherChanges = true});
    }
    return unsaved;
}

void SaveState::saved(std::uint64_t tracker)
{
    requireTracker(tracker);
    const std::weak_ptr<const bool> alive = life;
    // First, because a slot of the manager may save again.
    trackers[tracker].isOfUnfinishedMacro = isMacroRunning();
    manager.adjustOnSave(tracker);
    if (!alive.expired())
    {
        update();
    }
}

void SaveState::update()
{
    if (isTelling)
    {
        return;
    }
    // A slot may destroy this.
    const std::weak_ptr<const bool> alive = life;
    isTelling = true;
    try
    {
        while (tellOne() && !alive.expired())
        {
        }
    }
    catch (...)
    {
        if (!alive.expired())
        {
            isTelling = false;
        }
        throw;
    }
    if (!alive.expired())
    {
        isTelling = false;
    }
}

Signals::Connection
SaveState::connectToSigModifiedChanged(const Signals::Slot<void(std::uint64_t, bool)>& slot)
{
    return sigModifiedChanged.connect(slot, Signals::ConnectPosition::Back);
}

void SaveState::requireTracker(std::uint64_t tracker)
{
    if (tracker >= CommandManager::ChangeTrackerCount)
    {
        throw VdException("There is no change tracker " + std::to_string(tracker) +
                          "; pass a number less than CommandManager::ChangeTrackerCount, which is " +
                          std::to_string(CommandManager::ChangeTrackerCount));
    }
}

void SaveState::follow(const HistoryChange& change)
{
    for (std::uint64_t tracker = 0; tracker < trackers.size(); ++tracker)
    {
        Tracked& tracked = trackers[tracker];
        if (const auto position = manager.getSavedPosition(tracker))
        {
            tracked.branch = *position;
            tracked.modulesOfGone.clear();
            correctModules(tracker, change);
            followSave(tracker, change);
        }
        else
        {
            followLost(tracked, change);
        }
    }
    update();
}

void SaveState::followSave(std::uint64_t tracker, const HistoryChange& change)
{
    if (!change.savedPositionsChanged || manager.getSavedPosition(tracker) != manager.getPosition())
    {
        return;
    }
    Tracked& tracked = trackers[tracker];
    tracked.isOfUnfinishedMacro = tracked.isOfUnfinishedMacro || isMacroRunning();
    if (manager.getOpenGroups().empty())
    {
        tracked.modulesAtSave.clear();
    }
    // Those that were there before stay: this is no save if a group inside was abandoned.
    tracked.modulesAtSave.merge(manager.getModifiedModules(tracker));
}

bool SaveState::isMacroRunning() const
{
    return dynamic_cast<const MacroCommand*>(manager.getCurrentThreadedCommand().get()) != nullptr;
}

void SaveState::followLost(Tracked& tracked, const HistoryChange& change) const
{
    const Rows path{.first = std::min({tracked.branch, change.positionBefore, change.positionAfter}),
                    .last = std::max({tracked.branch, change.positionBefore, change.positionAfter})};
    for (const RowChange& row : change.rows)
    {
        tracked.branch = moveBranch(tracked.branch, row);
    }
    tracked.isVague = tracked.isVague || std::ranges::any_of(change.rows, isRemoval);
    if (!change.modulesOfRemoved.empty() && mayTouch(change, path))
    {
        tracked.modulesOfGone.insert(change.modulesOfRemoved.begin(), change.modulesOfRemoved.end());
    }
}

void SaveState::correctModules(std::uint64_t tracker, const HistoryChange& change)
{
    // When a command was taken, or the last one was dropped, the manager's modules are those from before its
    // command. That may have been in a group, which was abandoned now.
    Tracked& tracked = trackers[tracker];
    if (manager.getSavedPosition(tracker) != manager.getPosition() ||
        (change.rows.empty() && !change.savedPositionsChanged && !tracked.isVague))
    {
        return;
    }
    tracked.isVague = false;
    if (!manager.getModifiedModules(tracker).empty())
    {
        manager.adjustOnSave(tracker);
    }
}

bool SaveState::tellOne()
{
    for (std::uint64_t tracker = 0; tracker < trackers.size(); ++tracker)
    {
        const bool isModifiedNow = isModified(tracker);
        if (std::exchange(trackers[tracker].wasModified, isModifiedNow) != isModifiedNow)
        {
            sigModifiedChanged(tracker, isModifiedNow);
            return true;
        }
    }
    return false;
}

} // namespace Valdane
