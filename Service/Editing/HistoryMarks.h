#pragma once

#include "Service/CommandPattern/CommandManager.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Valdane
{

struct RowChange;

/// What a listener knows of how rows look: which are done, which is the current one, and which are saved.
///
/// Finds the rows that look different after a change. Rows that came with the change count as known.
class HistoryMarks
{
public:
    struct Range
    {
        std::uint64_t first = 0;
        std::uint64_t end = 0;
    };

    /// The current row and a saved one for each tracker.
    static constexpr std::size_t MarkCount = 1 + CommandManager::ChangeTrackerCount;

    /// Apart from each other, in ascending order.
    struct Ranges
    {
        /// Each mark has left one row and come to another; others became done or undone.
        std::array<Range, (2 * MarkCount) + 2> ranges;
        std::size_t count = 0;

        const Range* begin() const noexcept
        {
            return ranges.data();
        }

        const Range* end() const noexcept
        {
            return ranges.data() + count;
        }

        void add(std::uint64_t first, std::uint64_t end) noexcept;
        /// Makes one of those that touch, and leaves out all from @p rowCount on.
        void settle(std::uint64_t rowCount) noexcept;
    };

    explicit HistoryMarks(const CommandManager& manager);

    void replaceRows(const RowChange& change) noexcept;

    /// The rows of @p rowCount that look different now.
    Ranges update(const CommandManager& manager, std::uint64_t rowCount);

private:
    using Rows = std::array<std::optional<std::uint64_t>, MarkCount>;

    static Rows rowsOf(const CommandManager& manager);

    /// The known rows before the first are done, those from the second on are not. Rows in between are new.
    std::uint64_t doneEnd;
    std::uint64_t undoneBegin;
    Rows rows;
};

} // namespace Valdane
