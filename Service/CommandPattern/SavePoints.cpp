#include "Service/CommandPattern/SavePoints.h"

#include <algorithm>

namespace Valdane
{

template <typename IsKept>
void SavePoints::keepIf(const IsKept& isKept) noexcept
{
    for (std::optional<State>& state : saved)
    {
        if (state.has_value() && !isKept(*state))
        {
            state.reset();
        }
    }
}

void SavePoints::save(std::size_t tracker, const State& now) noexcept
{
    saved[tracker] = now;
}

void SavePoints::loseAll() noexcept
{
    saved = {};
}

SavePoints::Positions SavePoints::positions(std::uint64_t loose) const noexcept
{
    Positions positions;
    for (std::size_t tracker = 0; tracker < TrackerCount; ++tracker)
    {
        if (saved[tracker].has_value() && saved[tracker]->loose == loose)
        {
            positions[tracker] = saved[tracker]->position;
        }
    }
    return positions;
}

bool SavePoints::isSaved(const State& now) const noexcept
{
    return std::ranges::find(saved, now) != saved.end();
}

void SavePoints::dropOldest() noexcept
{
    keepIf([](State& state) { return state.position-- != 0; });
}

void SavePoints::dropAfter(std::uint64_t position) noexcept
{
    keepIf([&](const State& state) { return state.position <= position; });
}

void SavePoints::dropAll(std::uint64_t position) noexcept
{
    keepIf(
        [&](State& state)
        {
            const bool isHere = state.position == position;
            state.position = 0;
            return isHere;
        });
}

void SavePoints::takeNewest(std::uint64_t position) noexcept
{
    keepIf([&](State& state) { return state.position-- >= position; });
}

void SavePoints::queueLoose(std::uint64_t position, std::uint64_t loose) noexcept
{
    for (std::optional<State>& state : saved)
    {
        if (state == State{.position = position - 1, .loose = loose})
        {
            state = State{.position = position};
        }
    }
}

void SavePoints::dropLoose(std::uint64_t loose) noexcept
{
    keepIf(
        [&](State& state)
        {
            const bool isHere = state.loose == loose;
            state.loose = 0;
            return isHere;
        });
}

} // namespace Valdane
