#pragma once

#include <cstdint>
#include <optional>

namespace ModelEditor
{

/// Where in a history the state that was last saved is.
///
/// Thread: one at a time.
class SavePoint
{
public:
    /// A new command was executed, which takes away what was undone before it.
    void onCommandAdded() noexcept;
    void onUndone() noexcept;
    void onRedone() noexcept;
    void onSaved() noexcept;

    /// How many commands have to be redone to get there, or undone if it is negative. Nothing if no undo or
    /// redo leads there, or nothing was saved yet.
    std::optional<std::int64_t> getDistance() const noexcept;

private:
    std::int64_t position = 0;
    std::optional<std::int64_t> saved;
};

} // namespace ModelEditor
