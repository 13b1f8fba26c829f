#pragma once

#include "Examples/ModelEditor/SavePoint.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandManager.h"

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Valdane
{
class CommandBase;
class CommandCollector;
class MacroCommand;
class Object;
} // namespace Valdane

namespace ModelEditor
{

class ModelModules;
struct Work;

/// A stretch of the edit history, with a command manager of its own: all of it, a recording, or a group.
///
/// A recording or a group ends by take(), which makes it one command of the scope around it.
///
/// Ownership: shares the modules. Thread: the application's main thread only.
class EditScope
{
public:
    enum class Kind
    {
        Whole,
        Recording, ///< its commands go through a command collector
        Group,
    };

    /// Told about every step that was undone or redone: `Undone: <description>`.
    using StepListener = std::function<void(const std::string& step)>;

    /// What a scope has become: one command that has been executed.
    struct Contents
    {
        std::shared_ptr<Valdane::MacroCommand> commands; ///< never empty; may have no sub-command
        std::set<const Valdane::Object*> modules;        ///< those that the commands have changed
        std::string script;                              ///< the lines of the commands
    };

    EditScope(Kind what, std::shared_ptr<ModelModules> modelModules, StepListener listener);
    EditScope(const EditScope&) = delete;
    EditScope& operator=(const EditScope&) = delete;
    ~EditScope();

    Kind getKind() const noexcept;

    /// Executes @p command, together with what waits to be merged.
    ///
    /// @param script  the lines that do the same.
    /// @throws VdException with the reason if the command fails; nothing has changed then.
    void execute(const std::shared_ptr<Valdane::CommandBase>& command, const std::string& script);

    /// Executes @p command now and makes it one step with the next one; otherwise as execute().
    void executeToMerge(const std::shared_ptr<Valdane::CommandBase>& command, const std::string& script);

    /// Settles, then starts @p work on another thread. goOn() must follow whenever @p onThreadEnded was
    /// called, until it answers true; nothing else may be done in this scope up to then.
    ///
    /// @param onThreadEnded  called on the other thread, or at once if there is no thread to wait for.
    void start(const Work& work, const std::string& script, const std::function<void()>& onThreadEnded);

    /// Takes the work under way a step further, if a thread has ended.
    ///
    /// @return whether it is over.
    /// @throws VdException with the reason if it is over because it failed; nothing has changed then.
    bool goOn();

    /// Asks the work under way to stop. goOn() still has to follow; nothing has changed when it is over.
    void abort();

    /// Puts a scope that has ended on top of the history. @pre nothing waits to be merged (not checked).
    void add(const Contents& contents, const std::string& script);

    /// Makes a step of what waits to be merged, if there is any.
    void settle();

    /// Settles, then undoes or redoes up to @p count steps.
    ///
    /// @return how many.
    /// @throws VdException if one fails; the ones before it stay undone or redone.
    std::uint64_t undo(std::uint64_t count);
    std::uint64_t redo(std::uint64_t count);

    /// Settles, and takes all that is done out of the history.
    Contents take();

    /// The limit on the number of steps; nothing if there is none.
    std::optional<std::uint32_t> getLimit() const;

    /// Settles, then sets the limit, nothing for none. Which modules are modified stays known whatever the
    /// limit drops. @return how many steps were dropped.
    std::uint64_t setLimit(const std::optional<std::uint32_t>& limit);

    /// The modules that differ from what was saved last for @p tracker.
    std::set<const Valdane::Object*> getModifiedModules(std::uint64_t tracker) const;

    /// What is now has been saved for @p tracker. @pre nothing waits to be merged (not checked).
    void onSaved(std::uint64_t tracker);

    /// Descriptions, oldest first: of what is done, of what is undone, and of what waits to be merged.
    std::list<std::string> getDone() const;
    std::list<std::string> getUndone() const;
    std::vector<std::string> getWaiting() const;

    /// Where the state lies that was saved last for tracker 0 (see SavePoint).
    std::optional<std::int64_t> getDistanceToSaved() const noexcept;

private:
    struct Waiting
    {
        std::string description;
        std::string script;
    };

    struct UnderWay
    {
        std::string script;
        bool isAdded = false;
        bool isFailed = false;
    };

    Valdane::CommandManager& getEntrance();
    void watch(Valdane::CommandManager& watched);
    void onFailed(const std::string& what);
    void onQueueChanged(Valdane::CommandManager::QueueChangeReason reason);
    void onAdded(const std::string& script);

    Kind kind;
    std::shared_ptr<ModelModules> modules;
    StepListener tell;
    Valdane::CommandManager manager;
    std::unique_ptr<Valdane::CommandCollector> collector;
    std::vector<Waiting> waiting;
    std::map<const Valdane::CommandBase*, std::string> scripts;
    SavePoint savePoint;
    bool keepsNothing = false;
    std::uint64_t steps = 0;
    std::string failure;
    UnderWay underWay;
    std::vector<Valdane::Signals::Connection> connections;
};

} // namespace ModelEditor
