#include "Service/CommandTesting/FailurePoints.h"

#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

TEST(FailurePointsTest, NothingHappensUnlessTheyAreArmed)
{
    FailurePoints points;
    points.reach("read");
    EXPECT_THAT(points.getReached(), testing::IsEmpty());
    EXPECT_FALSE(points.wasReached());
}

TEST(FailurePointsTest, TheArmedOneFailsOnce)
{
    FailurePoints points;
    points.arm(1, FailurePoints::Kind::StandardException);
    points.reach("read");
    EXPECT_FALSE(points.wasReached());
    EXPECT_THAT([&] { points.reach("write"); },
                testing::ThrowsMessage<std::runtime_error>("made to fail at \"write\""));
    EXPECT_TRUE(points.wasReached());
    points.reach("write");
    EXPECT_THAT(points.getReached(), ElementsAre("read", "write", "write"));
}

TEST(FailurePointsTest, ItMayThrowAnotherTypeThanAnException)
{
    FailurePoints points;
    points.arm(0, FailurePoints::Kind::Other);
    EXPECT_THROW(points.reach("read"), int);
}

TEST(FailurePointsTest, DisarmedTheyKeepWhatWasReachedAndArmingForgetsIt)
{
    FailurePoints points;
    points.arm(0, FailurePoints::Kind::Other);
    EXPECT_THROW(points.reach("read"), int);
    points.disarm();
    points.reach("write");
    EXPECT_TRUE(points.wasReached());
    EXPECT_THAT(points.getReached(), ElementsAre("read"));
    points.arm(0, FailurePoints::Kind::StandardException);
    EXPECT_FALSE(points.wasReached());
    EXPECT_THROW(points.reach("write"), std::runtime_error);
}

TEST(FailurePointsTest, OfManyThreadsOneMeetsTheFailure)
{
    FailurePoints points;
    points.arm(500, FailurePoints::Kind::Other);
    std::atomic<int> failures = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
        {
            threads.emplace_back(
                [&]
                {
                    for (int call = 0; call < 250; ++call)
                    {
                        try
                        {
                            points.reach("call");
                        }
                        catch (int)
                        {
                            ++failures;
                        }
                    }
                });
        }
    }
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(points.getReached().size(), 1000U);
}

} // namespace
} // namespace Valdane
