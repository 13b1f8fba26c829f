#include "Platform/GeneralServices/LegacyProgress.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

namespace
{

using Valdane::LegacyProgress;
using Speed = LegacyProgress::Speed;
using Rate = Speed::Rate;

constexpr std::initializer_list<Rate> AllRates{Speed::VerySlow, Speed::Slow, Speed::Normal, Speed::Fast,
                                               Speed::VeryFast};

Speed speedOf(const std::vector<Rate>& rates)
{
    Speed speed;
    for (const auto rate : rates)
    {
        speed.add(rate);
    }
    return speed;
}

Rate rateOf(int value)
{
    return static_cast<Rate>(value);
}

TEST(LegacyProgressSpeed, RatesHaveTheirValues)
{
    EXPECT_EQ(Speed::VerySlow, 1);
    EXPECT_EQ(Speed::Slow, 2);
    EXPECT_EQ(Speed::Normal, 3);
    EXPECT_EQ(Speed::Fast, 4);
    EXPECT_EQ(Speed::VeryFast, 5);
}

TEST(LegacyProgressSpeed, AnEmptySetIsOfNormalSpeedAndSharesNothingOut)
{
    const Speed speed;
    EXPECT_EQ(speed.getAverageSpeed(), Speed::Normal);
    for (const auto rate : AllRates)
    {
        EXPECT_EQ(speed.getPartitionFromRate(rate), 0);
    }
}

TEST(LegacyProgressSpeed, AMemberAloneGetsTheWholeRange)
{
    for (const auto rate : AllRates)
    {
        EXPECT_EQ(speedOf({rate}).getPartitionFromRate(rate), LegacyProgress::FullRange);
        EXPECT_EQ(speedOf({rate}).getAverageSpeed(), rate);
    }
}

TEST(LegacyProgressSpeed, AStepSlowerGetsTwiceTheShare)
{
    const auto speed = speedOf(AllRates);
    EXPECT_EQ(speed.getPartitionFromRate(Speed::VeryFast), 1'000'000'000 / 31);
    EXPECT_EQ(speed.getPartitionFromRate(Speed::Fast), 2'000'000'000 / 31);
    EXPECT_EQ(speed.getPartitionFromRate(Speed::Normal), 4'000'000'000 / 31);
    EXPECT_EQ(speed.getPartitionFromRate(Speed::Slow), 8'000'000'000 / 31);
    EXPECT_EQ(speed.getPartitionFromRate(Speed::VerySlow), 16'000'000'000 / 31);
}

TEST(LegacyProgressSpeed, EqualMembersShareEqually)
{
    const auto speed = speedOf({Speed::Slow, Speed::Slow, Speed::Slow});
    EXPECT_EQ(speed.getPartitionFromRate(Speed::Slow), 333'333'333);
}

TEST(LegacyProgressSpeed, ARateThatNoMemberHasGetsAtMostTheWholeRange)
{
    const auto speed = speedOf({Speed::VeryFast});
    EXPECT_EQ(speed.getPartitionFromRate(Speed::VerySlow), LegacyProgress::FullRange);
    EXPECT_EQ(speedOf({Speed::VerySlow}).getPartitionFromRate(Speed::VeryFast),
              LegacyProgress::FullRange / 16);
}

TEST(LegacyProgressSpeed, RatesOutsideTheEnumerationCountAsTheNearest)
{
    const auto speed = speedOf({rateOf(-7), rateOf(0), rateOf(6), rateOf(1000)});
    EXPECT_EQ(speed.getPartitionFromRate(Speed::VerySlow), 16'000'000'000 / 34);
    EXPECT_EQ(speed.getPartitionFromRate(Speed::VeryFast), 1'000'000'000 / 34);
    EXPECT_EQ(speed.getPartitionFromRate(rateOf(-7)), speed.getPartitionFromRate(Speed::VerySlow));
    EXPECT_EQ(speed.getPartitionFromRate(rateOf(99)), speed.getPartitionFromRate(Speed::VeryFast));
}

TEST(LegacyProgressSpeed, TheAverageIsRoundedToTheNearestAndFromHalfWayToTheSlower)
{
    EXPECT_EQ(speedOf({Speed::Slow, Speed::Normal}).getAverageSpeed(), Speed::Slow);
    EXPECT_EQ(speedOf({Speed::Fast, Speed::VeryFast}).getAverageSpeed(), Speed::Fast);
    EXPECT_EQ(speedOf({Speed::VerySlow, Speed::VeryFast}).getAverageSpeed(), Speed::Normal);
    EXPECT_EQ(speedOf({Speed::Slow, Speed::Normal, Speed::Normal}).getAverageSpeed(), Speed::Normal);
    EXPECT_EQ(speedOf({Speed::Slow, Speed::Slow, Speed::Normal}).getAverageSpeed(), Speed::Slow);
    EXPECT_EQ(speedOf({Speed::VerySlow, Speed::VerySlow, Speed::VeryFast}).getAverageSpeed(), Speed::Slow);
    EXPECT_EQ(speedOf({Speed::VerySlow, Speed::Fast, Speed::Fast}).getAverageSpeed(), Speed::Normal);
}

TEST(LegacyProgressSpeed, SharesOfAnySetSumToAtMostTheWholeRangeAndAreNeverEmpty)
{
    std::mt19937 random(20'240'517);
    std::uniform_int_distribution<int> anyRate(Speed::VerySlow, Speed::VeryFast);
    for (const int members : {1, 2, 3, 7, 31, 1000, 100'000})
    {
        Speed speed;
        std::vector<Rate> rates;
        for (int i = 0; i < members; ++i)
        {
            rates.push_back(rateOf(anyRate(random)));
            speed.add(rates.back());
        }
        std::int64_t sum = 0;
        for (const auto rate : rates)
        {
            EXPECT_GT(speed.getPartitionFromRate(rate), 0);
            sum += speed.getPartitionFromRate(rate);
        }
        EXPECT_LE(sum, LegacyProgress::FullRange);
        EXPECT_GT(sum, LegacyProgress::FullRange - members) << "rounding takes less than one unit from each";
    }
}

TEST(LegacyProgressSpeed, ManyMembersDoNotOverflow)
{
    constexpr int Members = 5'000'000; // 16 * Members * FullRange needs more than 32 bits many times over
    Speed speed;
    for (int i = 0; i < Members; ++i)
    {
        speed.add(Speed::VerySlow);
    }
    EXPECT_EQ(speed.getPartitionFromRate(Speed::VerySlow), LegacyProgress::FullRange / Members);
    EXPECT_EQ(speed.getPartitionFromRate(Speed::VeryFast), LegacyProgress::FullRange / Members / 16);
    EXPECT_EQ(speed.getAverageSpeed(), Speed::VerySlow);
}

TEST(LegacyProgressSpeed, TakesTheSameMemoryForAnyNumberOfMembers)
{
    static_assert(sizeof(Speed) == 3 * sizeof(std::uint64_t));
}

} // namespace
