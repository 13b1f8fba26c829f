#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/Editing/EditingExport.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>

namespace Valdane
{

class CommandBase;
class CommandManager;
class StepCommand;
struct HistoryChange;

/// Decides which consecutive commands are one step of undo: a drag or a typed word, for example.
///
///     MergePolicy policy(manager, {.pause = std::chrono::milliseconds(800)});
///     policy.add(std::make_shared<InsertTextCommand>(text, "p"), "type in title");
///     policy.add(std::make_shared<InsertTextCommand>(text, "u"), "type in title");
///     manager.undo(1); // removes both letters
///
/// Commands are one step if they have the same key and none of these comes between: a pause, a save, an undo
/// or redo, a command with another key or not added here, endStep(), the end of a group that has commands. A
/// command that is a MergeableCommand is asked to take in the next one. If it does not, the step keeps both.
///
/// In the history a command with a key is in a MacroCommand, which is the step. Its description is that of
/// the first command that has one. Undo, redo and what happens if they fail are those of a MacroCommand.
///
/// While a threaded command is running: a policy does not know of a ThreadedRun, and the manager executes at
/// once. Edit through ThreadedRun::edit(), which refuses the edit or lets it wait. Edits that waited are
/// timed when they are done, so those with the same key become one step.
///
/// Failures: as CommandManager::addOrMergeCommand(). What the clock throws passes to the caller; it is asked
/// before the command is executed, when nothing has changed, and after it, when the step ends because of
/// that.
///
/// Re-entrancy: the clock, commands and slots may call any operation. Commands and slots may destroy this,
/// too.
///
/// Ownership: the manager must outlive all calls, but not the destructor. Steps do not need the policy.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT MergePolicy
{
public:
    /// What tells the time.
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// What ends a step although the key is the same.
    struct Limits
    {
        /// The longest time between the end of a command and the start of the next one in the same step.
        std::chrono::steady_clock::duration pause = std::chrono::seconds(1);

        /// The most commands in a step. With 0 and 1 each command is a step of its own.
        std::size_t commands = std::numeric_limits<std::size_t>::max();
    };

    /// One second and any number of commands, by the steady clock.
    explicit MergePolicy(CommandManager& commandManager);

    /// As the limits say, by the steady clock.
    MergePolicy(CommandManager& commandManager, const Limits& stepLimits);

    /// As the limits say, by a clock of the caller. @throws VdException if it is empty.
    MergePolicy(CommandManager& commandManager, const Limits& stepLimits, Clock stepClock);
    MergePolicy(const MergePolicy&) = delete;
    MergePolicy& operator=(const MergePolicy&) = delete;
    ~MergePolicy();

    /// Executes @p command and puts it into the history, as a part of the newest step if it belongs to it.
    /// Ends the newest step otherwise.
    ///
    /// @param command  not executed yet.
    /// @param key      any text that tells what is edited. Commands with an empty key never merge: it is
    ///                 CommandManager::addCommand() then.
    /// @return false if the command threw or is empty. That does not end a step with the same key.
    bool add(std::shared_ptr<CommandBase> command, const std::string& key);

    /// The next command begins a step: when the mouse button is released, for example. During add(), it is
    /// the one after.
    void endStep() noexcept;

private:
    class Listening;

    std::shared_ptr<StepCommand> findStep(const std::string& key) const;
    bool addToStep(const std::shared_ptr<StepCommand>& newest, const std::shared_ptr<StepCommand>& next,
                   std::string key);
    void follow(const HistoryChange& change);
    void interrupt() noexcept;

    CommandManager& manager;
    Limits limits;
    Clock clock;
    /// Weak, so that a command dies when the history forgets it.
    std::weak_ptr<StepCommand> step;
    std::string stepKey;
    std::chrono::steady_clock::time_point stepTime;
    /// How many add() are running, one within another.
    std::uint64_t depth = 0;
    /// What happened during the innermost add(): rows that came, and what ends a step.
    std::uint64_t insertedRows = 0;
    std::uint64_t interruptions = 0;
    /// Expires when this is destroyed, by a slot for example.
    std::shared_ptr<const bool> life = std::make_shared<const bool>(true);
    Signals::Connection connection;
    /// Also of a group that was abandoned, which the history need not tell.
    Signals::Connection undone;
};

} // namespace Valdane
