#include "Service/Editing/HistoryMarks.h"

#include "Service/CommandPattern/HistoryChange.h"

#include <algorithm>

namespace Valdane
{

namespace
{

std::optional<std::uint64_t> rowBefore(std::optional<std::uint64_t> position)
{
    const std::uint64_t done = position.value_or(0);
    return done == 0 ? std::nullopt : std::optional(done - 1);
}

} // namespace

void HistoryMarks::Ranges::add(std::uint64_t first, std::uint64_t end) noexcept
{
    if (first < end)
    {
        ranges[count++] = {.first = first, .end = end};
    }
}

void HistoryMarks::Ranges::settle(std::uint64_t rowCount) noexcept
{
    Range* const begin = ranges.data();
    std::sort(begin, begin + count, [](const Range& a, const Range& b) { return a.first < b.first; });
    std::size_t settled = 0;
    for (std::size_t index = 0; index < count; ++index)
    {
        const Range range{.first = ranges[index].first, .end = std::min(ranges[index].end, rowCount)};
        if (settled != 0 && range.first <= ranges[settled - 1].end)
        {
            ranges[settled - 1].end = std::max(ranges[settled - 1].end, range.end);
        }
        else if (range.first < range.end)
        {
            ranges[settled++] = range;
        }
    }
    count = settled;
}

HistoryMarks::HistoryMarks(const CommandManager& manager)
    : doneEnd(manager.getPosition()), undoneBegin(doneEnd), rows(rowsOf(manager))
{
}

void HistoryMarks::replaceRows(const RowChange& change) noexcept
{
    const std::uint64_t end = change.first + change.removed;
    const auto isBehind = [&](std::uint64_t row)
    {
        return row >= end;
    };
    if (doneEnd > change.first)
    {
        doneEnd = isBehind(doneEnd) ? doneEnd - change.removed + change.inserted : change.first;
    }
    if (undoneBegin >= change.first)
    {
        undoneBegin = std::max(undoneBegin, end) - change.removed + change.inserted;
    }
    for (auto& row : rows)
    {
        if (row.has_value() && *row >= change.first)
        {
            row = isBehind(*row) ? std::optional(*row - change.removed + change.inserted) : std::nullopt;
        }
    }
}

HistoryMarks::Ranges HistoryMarks::update(const CommandManager& manager, std::uint64_t rowCount)
{
    const Rows before = rows;
    rows = rowsOf(manager);
    const std::uint64_t position = manager.getPosition();
    Ranges changed;
    changed.add(position, doneEnd);
    changed.add(undoneBegin, position);
    const auto isNew = [&](std::uint64_t row)
    {
        return row >= doneEnd && row < undoneBegin;
    };
    for (std::size_t mark = 0; mark < MarkCount; ++mark)
    {
        if (before[mark] == rows[mark])
        {
            continue;
        }
        for (const auto& row : {before[mark], rows[mark]})
        {
            if (row.has_value() && !isNew(*row))
            {
                changed.add(*row, *row + 1);
            }
        }
    }
    changed.settle(rowCount);
    doneEnd = position;
    undoneBegin = position;
    return changed;
}

HistoryMarks::Rows HistoryMarks::rowsOf(const CommandManager& manager)
{
    Rows rows;
    rows[0] = rowBefore(manager.getPosition());
    for (std::size_t tracker = 0; tracker < CommandManager::ChangeTrackerCount; ++tracker)
    {
        rows[1 + tracker] = rowBefore(manager.getSavedPosition(tracker));
    }
    return rows;
}

} // namespace Valdane
