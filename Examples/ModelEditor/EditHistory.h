#pragma once

#include "Examples/ModelEditor/EditScope.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ModelEditor
{

/// All that was done to a model: the history itself, a recording under way in it, and a group under way in
/// either. Edits, undo and redo concern the innermost of them.
///
/// Ownership: shares the modules. Thread: the application's main thread only.
class EditHistory
{
public:
    /// The two purposes for which a model is written, numbered as the trackers of the command manager are.
    enum Tracker : std::uint64_t
    {
        Saved = 0,
        Exported = 1,
    };

    /// What stop() gives.
    struct Recording
    {
        std::uint64_t count;
        std::string script;
    };

    EditHistory(std::shared_ptr<ModelModules> modelModules, EditScope::StepListener listener);
    EditHistory(const EditHistory&) = delete;
    EditHistory& operator=(const EditHistory&) = delete;
    ~EditHistory();

    /// The innermost of history, recording and group: to execute, undo and redo in.
    EditScope& getCurrent() noexcept;

    /// From the whole history to the innermost scope.
    const std::vector<std::unique_ptr<EditScope>>& getScopes() const noexcept;

    bool isRecording() const noexcept;

    /// The name of the group under way.
    const std::optional<std::string>& getGroup() const noexcept;

    /// @throws VdException if there is one already, or @p name is empty.
    void beginGroup(const std::string& name);

    /// Makes the group one step, unless it is empty. @return the number of steps in it.
    /// @throws VdException if there is none.
    std::uint64_t endGroup();

    /// Undoes the group, which leaves no trace. @return the number of steps undone.
    /// @throws VdException if there is none, or if it cannot be undone, the group going on then.
    std::uint64_t abandonGroup();

    /// @throws VdException if there is one already, or a group.
    void beginRecording();

    /// Makes what was recorded one step, unless there is nothing. @throws VdException if there is no
    /// recording, or a group in it.
    Recording endRecording();

    /// The modules that differ from what was saved or exported last. Tells the truth at any time.
    std::set<const Valdane::Object*> getModifiedModules(Tracker tracker) const;

    /// What is now has been saved or exported. @pre no group, no recording, nothing waits to be merged (not
    /// checked).
    void onSaved(Tracker tracker);

private:
    void begin(EditScope::Kind kind);
    void requireGroup() const;
    void requireNoGroup() const;

    std::shared_ptr<ModelModules> modules;
    EditScope::StepListener tell;
    std::vector<std::unique_ptr<EditScope>> scopes;
    std::optional<std::string> group;
};

} // namespace ModelEditor
