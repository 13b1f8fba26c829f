#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/EditingExport.h"
#include "Service/Editing/UnsavedModule.h"

#include <array>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>

namespace Valdane
{

class Object;
struct HistoryChange;

/// Whether the data differ from the last save, for each change tracker of a manager, and why.
///
///     SaveState saveState(manager);
///     const auto connection = saveState.connectToSigModifiedChanged(
///         [&](std::uint64_t tracker, bool isModified) { window.setModified(isModified); });
///     ...
///     document.write(file);
///     saveState.saved(0);
///
/// Make it before the first command. It takes data to which nothing has happened for saved: a new document is
/// not modified, and is not modified again when all is undone. Call saved() after loading, too.
///
/// The answer is right also if the history does not lead to the save any more, because a command was dropped,
/// taken, or cannot be redone. While a command waits to be merged, or is in an open group, the data are
/// modified, unless they were saved since. Modules that the module access interface reports count as
/// modified. It tells nobody when it reports others; call update() then.
///
/// A save while a ThreadedMacroCommand is running has what its first commands did, which may be undone later. If
/// it is told by saved(), the data are modified until saved() is called when no macro is running.
///
/// If a command leaves the history and the data are as saved, this calls CommandManager::adjustOnSave()
/// again, because CommandManager::getModifiedModules() may still tell what was modified before that save.
///
/// Failures: what slots, the module access interface and a command's getDescription() throw passes to the
/// caller, who may be the caller of the manager. The further slots are not told of that change then.
/// isModified() stays right. A change that could not be told at all is told with the next one, or by
/// update().
///
/// Re-entrancy: slots may call any operation, and may destroy this. What they change is told when all slots
/// have been told of the change before.
///
/// Ownership: the manager must outlive all calls, but not the destructor.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT SaveState
{
public:
    /// Makes the present state the save point of each tracker without one, if the history is empty and no
    /// module is modified. @throws what slots and the module access interface throw.
    explicit SaveState(CommandManager& commandManager);
    SaveState(const SaveState&) = delete;
    SaveState& operator=(const SaveState&) = delete;
    ~SaveState();

    /// Whether the data differ from the last save for @p tracker, or were never saved.
    /// Cost: constant if the position in the history tells. Otherwise asks for the modified modules.
    /// @throws VdException if there is no such tracker; what the module access interface throws.
    bool isModified(std::uint64_t tracker) const;

    /// Every module that differs from the last save for @p tracker. Those with commands come first, in the
    /// order of their oldest one. Empty exactly if isModified() is false.
    ///
    /// Commands that have left the history are known by their modules only. Modules may be listed that do not
    /// differ if no undo or redo leads to the save, if a command was taken since, or if the limit has dropped
    /// all commands since while others were in an open group or waited to be merged. None is missing.
    /// Cost: linear in the commands since the save, and in their modules.
    /// @throws as isModified(), and what a command's getDescription() throws.
    std::vector<UnsavedModule> unsavedChanges(std::uint64_t tracker) const;

    /// Makes the present state the save point of @p tracker with CommandManager::adjustOnSave(), and tells if
    /// that changes the answer. @throws VdException if there is no such tracker; what slots and the module
    /// access interface throw.
    void saved(std::uint64_t tracker);

    /// Tells if an answer has changed without a change of the history: call it when the module access
    /// interface reports other modules, and no command has caused that. @throws what slots and the module
    /// access interface throw.
    void update();

    /// When isModified() has another answer: the tracker and the answer. The slot is called until the
    /// connection is destroyed.
    [[nodiscard]] Signals::Connection
    connectToSigModifiedChanged(const Signals::Slot<void(std::uint64_t, bool)>& slot);

private:
    /// What is known of a tracker's save beyond what the manager knows.
    struct Tracked
    {
        /// Where the path from the save to the data enters the history; the save itself if it is in the
        /// history.
        std::uint64_t branch = 0;
        /// What commands modified that are on that path and left the history.
        std::set<const Object*> modulesOfGone;
        /// What the module access interface reported at the save: of commands that were not in the history
        /// yet. If their group is abandoned, nobody else knows that they differ.
        std::set<const Object*> modulesAtSave;
        /// Whether the manager may count modules from before the save, because commands have left the history
        /// while others were not in it yet.
        bool isVague = false;
        /// Whether the save has what some commands of a macro did that was running then.
        bool isOfUnfinishedMacro = false;
        bool wasModified = false;
    };

    static void requireTracker(std::uint64_t tracker);
    void follow(const HistoryChange& change);
    void followSave(std::uint64_t tracker, const HistoryChange& change);
    bool isMacroRunning() const;
    void followLost(Tracked& tracked, const HistoryChange& change) const;
    void correctModules(std::uint64_t tracker, const HistoryChange& change);
    bool tellOne();

    CommandManager& manager;
    std::array<Tracked, CommandManager::ChangeTrackerCount> trackers;
    bool isTelling = false;
    Signals::Signal<void(std::uint64_t, bool)> sigModifiedChanged;
    /// Expires when this is destroyed, by a slot for example.
    std::shared_ptr<const bool> life = std::make_shared<const bool>(true);
    Signals::Connection connection;
};

} // namespace Valdane
