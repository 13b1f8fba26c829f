#pragma once

#include <cstdint>

namespace Valdane
{

/// Which of a step's places are tried, if there are many: some 256 in a row, then ever fewer, so that a million
/// places take some 800 trials.
///
/// @return the place to be tried after @p place.
constexpr std::uint64_t placeAfter(std::uint64_t place) noexcept
{
    return place < 256 ? place + 1 : place + (place / 64);
}

/// Calls @p tryPlace for place 0 and those that placeAfter() leads to, until it answers that there is no such place,
/// and then for those that lead to the last place of all.
template <typename TryPlace>
void tryPlaces(const TryPlace& tryPlace)
{
    std::uint64_t last = 0;
    std::uint64_t missing = 0;
    while (tryPlace(missing))
    {
        last = missing;
        missing = placeAfter(last);
    }
    while (missing > last + 1)
    {
        const std::uint64_t middle = last + ((missing - last) / 2);
        (tryPlace(middle) ? last : missing) = middle;
    }
}

} // namespace Valdane
