#pragma once

#include <cstdint>
#include <optional>

namespace ModelEditor
{

/// Whether what was last saved is what is there now, judged by the commands done and undone since.
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

    /// Whether there is something to save; not at first.
    bool isModified() const noexcept;

private:
    std::int64_t position = 0;
    std::optional<std::int64_t> saved = 0;
};

} // namespace ModelEditor
