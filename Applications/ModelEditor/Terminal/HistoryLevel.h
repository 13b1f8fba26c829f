#pragma once

#include "Applications/ModelEditor/Terminal/HistoryActions.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/ActiveHistory.h"
#include "Service/Editing/History.h"
#include "Service/Editing/SaveState.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{
class CommandBase;
class HistoryAction;
} // namespace Valdane

namespace ModelEditor
{

class ModelModules;

/// The history of a model, of a recording in it, or of a group in either.
///
/// Each has a command manager of its own, so that undo and redo work inside a recording and a group. When one
/// ends, becomeStepOf() makes it a step of the level around it.
///
/// Ownership: shares the modules and the actions. Thread: the application's main thread only.
class HistoryLevel
{
public:
    enum class Kind
    {
        Model,
        Recording,
        Group,
    };

    /// The two purposes for which a model is written, numbered as the trackers of the command manager are.
    enum Tracker : std::uint64_t
    {
        Saved = 0,
        Exported = 1,
    };

    /// A command that waits to be merged, and the lines that do the same.
    struct Waiting
    {
        std::string description;
        std::string script;
    };

    /// Told about every step that was undone or redone: `Undone: <description>`.
    using StepListener = std::function<void(const std::string& step)>;

    /// Is active at once.
    ///
    /// @param levelName  of a group; otherwise empty.
    HistoryLevel(Kind levelKind, std::string levelName, std::shared_ptr<ModelModules> modelModules,
                 std::shared_ptr<HistoryActions> undoAndRedo);
    HistoryLevel(const HistoryLevel&) = delete;
    HistoryLevel& operator=(const HistoryLevel&) = delete;
    ~HistoryLevel();

    /// What it is the history of.
    Kind getKind() const noexcept;

    /// The name of a group; otherwise empty.
    const std::string& getName() const noexcept;

    /// Executes @p command, together with what waits to be merged.
    ///
    /// @param script  the lines that do the same.
    /// @throws VdException with the reason if the command fails; nothing has changed then.
    void execute(const std::shared_ptr<Valdane::CommandBase>& command, const std::string& script);

    /// Executes @p command now and makes it one step with the next one; otherwise as execute().
    void executeToMerge(const std::shared_ptr<Valdane::CommandBase>& command, const std::string& script);

    /// To be called after a command was put into the history by others: notes the lines that do the same, and
    /// applies a limit of 0.
    void onAdded(const std::string& script);

    /// Makes a step of what waits to be merged, if there is any.
    void settle();

    /// From now on undo and redo concern this level, until another one is activated or this one goes.
    void activate();

    /// Settles, then undoes or redoes up to @p most steps.
    ///
    /// @pre it is active (not checked).
    /// @return how many.
    /// @throws VdException if one fails; the ones before it stay undone or redone.
    std::uint64_t undo(std::uint64_t most, const StepListener& tell);
    std::uint64_t redo(std::uint64_t most, const StepListener& tell);

    /// The lines of all that is done. @pre it is a recording or a group (not checked).
    std::string getScript() const;

    /// Moves all that is done into @p outer, as one step; nothing if nothing is done. @pre nothing waits to be
    /// merged, here and there (not checked).
    void becomeStepOf(HistoryLevel& outer, const std::string& description, const std::string& script);

    /// The limit on the number of steps; nothing if there is none.
    std::optional<std::uint32_t> getLimit() const;

    /// Settles, then sets the limit, nothing for none. Which modules are modified stays known whatever the
    /// limit drops. @return how many steps were dropped.
    std::uint64_t setLimit(const std::optional<std::uint32_t>& limit);

    /// What waits to be merged, oldest first.
    const std::vector<Waiting>& getWaiting() const noexcept;

    /// As History::isSaved(), for tracker 0. But a saved row stays one while commands wait to be merged, because
    /// undo settles first and so leads to it.
    bool isSaved(std::uint64_t row) const;

    /// Executes all commands of the level.
    Valdane::CommandManager manager;
    /// What is done and undone. What waits to be merged is not in it.
    Valdane::History history{manager};
    /// Whether the model was saved as this level has left it.
    Valdane::SaveState saveState{manager};

private:
    std::uint64_t repeat(Valdane::HistoryAction& action, const std::string& done, std::uint64_t most,
                         const StepListener& tell);

    Kind kind;
    std::string name;
    std::shared_ptr<ModelModules> modules;
    std::shared_ptr<HistoryActions> actions;
    Valdane::ActiveHistory::Document document{actions->active, manager};
    std::vector<Waiting> waiting;
    // Where the save was when the first command began to wait.
    std::optional<std::uint64_t> savedBeforeWaiting;
    // One for each row, except for those that were undone and replaced.
    std::vector<std::string> scripts;
    bool keepsNothing = false;
    std::string failure;
    std::string failedCommand;
    Valdane::Signals::Connection failed;
};

} // namespace ModelEditor
