#include "Service/CommandTesting/Choices.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <set>
#include <vector>

namespace Valdane
{
namespace
{

constexpr auto largest = std::numeric_limits<std::uint64_t>::max();

template <typename Number>
std::vector<Number> draw(std::uint64_t seed, const std::function<Number(Choices&)>& from)
{
    Choices choices(seed);
    std::vector<Number> numbers(200);
    std::ranges::generate(numbers, [&] { return from(choices); });
    return numbers;
}

std::set<std::int64_t> drawBetween(std::int64_t first, std::int64_t last)
{
    const auto numbers =
        draw<std::int64_t>(1, [&](Choices& choices) { return choices.between(first, last); });
    return {numbers.begin(), numbers.end()};
}

TEST(ChoicesTest, AreTheNumbersOfTheMethodOnEveryMachine)
{
    Choices choices(1234567);
    EXPECT_EQ(choices.below(largest), 6457827717110365317U);
    EXPECT_EQ(choices.below(largest), 3203168211198807973U);
    EXPECT_EQ(choices.below(1000), 9817491932198370423U % 1000);
}

TEST(ChoicesTest, DependOnTheSeedAlone)
{
    const auto anyNumber = [](Choices& choices)
    {
        return choices.below(largest);
    };
    EXPECT_EQ(draw<std::uint64_t>(5, anyNumber), draw<std::uint64_t>(5, anyNumber));
    EXPECT_NE(draw<std::uint64_t>(5, anyNumber), draw<std::uint64_t>(6, anyNumber));
}

TEST(ChoicesTest, AreAllNumbersOfTheRangeAndNoOthers)
{
    const auto numbers = draw<std::uint64_t>(1, [](Choices& choices) { return choices.below(3); });
    EXPECT_EQ(std::set<std::uint64_t>(numbers.begin(), numbers.end()), (std::set<std::uint64_t>{0, 1, 2}));
    EXPECT_EQ(drawBetween(-1, 1), (std::set<std::int64_t>{-1, 0, 1}));
    const auto tosses = draw<int>(1, [](Choices& choices) { return choices.toss() ? 1 : 0; });
    EXPECT_EQ(std::set<int>(tosses.begin(), tosses.end()), (std::set<int>{0, 1}));
}

TEST(ChoicesTest, OfARangeWithNothingToChooseAreItsBeginning)
{
    Choices choices(1);
    EXPECT_EQ(choices.below(0), 0U);
    EXPECT_EQ(choices.below(1), 0U);
    EXPECT_EQ(drawBetween(7, 7), std::set<std::int64_t>{7});
    EXPECT_EQ(drawBetween(7, -7), std::set<std::int64_t>{7});
}

TEST(ChoicesTest, MayBeOfAllNumbersThereAre)
{
    using Limits = std::numeric_limits<std::int64_t>;
    const std::set<std::int64_t> numbers = drawBetween(Limits::min(), Limits::max());
    EXPECT_EQ(numbers.size(), 200U);
    EXPECT_LT(*numbers.begin(), 0);
    EXPECT_GT(*numbers.rbegin(), 0);
}

} // namespace
} // namespace Valdane
