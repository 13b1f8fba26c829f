#pragma once

#include <cstdint>

namespace Valdane
{

/// Which of a step's places are tried, if there are many: each of the first 256, then ever fewer, so that a million
/// places take some 800 trials.
///
/// @return the place to be tried after @p place.
constexpr std::uint64_t placeAfter(std::uint64_t place) noexcept
{
    return place < 256 ? place + 1 : place + (place / 64);
}

} // namespace Valdane
