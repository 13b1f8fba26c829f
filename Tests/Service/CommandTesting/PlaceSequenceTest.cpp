#include "Service/CommandTesting/PlaceSequence.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace Valdane
{
namespace
{

// The places that are tried of a step that has so many, in the order in which they are tried.
std::vector<std::uint64_t> triedOf(std::uint64_t count)
{
    std::vector<std::uint64_t> tried;
    tryPlaces(
        [&](std::uint64_t place)
        {
            if (place >= count)
            {
                return false;
            }
            tried.push_back(place);
            return true;
        });
    return tried;
}

TEST(PlaceSequenceTest, OfFewPlacesEachIsTried)
{
    for (const std::size_t count : {0U, 1U, 2U, 256U, 257U})
    {
        std::vector<std::uint64_t> all(count);
        std::iota(all.begin(), all.end(), 0);
        EXPECT_EQ(triedOf(count), all);
    }
}

TEST(PlaceSequenceTest, OfManyPlacesTheLastOneIsTriedToo)
{
    for (std::uint64_t count = 258; count < 1000; ++count)
    {
        const auto tried = triedOf(count);
        EXPECT_EQ(tried.back(), count - 1);
        EXPECT_LE(tried.size(), 257 + ((count - 257) / 4) + 4) << count;
    }
    const auto tried = triedOf(1'000'000);
    EXPECT_EQ(tried.back(), 999'999U);
    EXPECT_EQ(tried.size(), 805U);
}

} // namespace
} // namespace Valdane
