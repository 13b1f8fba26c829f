#pragma once

#include "FaultsOfTheseServices.h"
#include "Tests/Support/Faults/FaultRow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace Valdane::Faults
{

/// Lets an operation fail at every place where it can, one at a time, and compares what is left with what its
/// row promises.
template <typename World>
class FailEverywhere
{
public:
    explicit FailEverywhere(const FaultRow<World>& operation) : row(operation)
    {
        before = stateAfter([](World&) {});
        after = stateAfter(row.operation);
        std::ranges::transform(row.mayLeave.list, std::back_inserter(alsoAllowed),
                               [this](const auto& step) { return stateAfter(step); });
    }

    void check()
    {
        for (const KindOfFault& kind : kindsOfFault())
        {
            std::size_t place = 0;
            while (failsAt(place, kind) && !testing::Test::HasFailure())
            {
                ++place;
            }
            EXPECT_EQ(place != 0, kind.isExpectedIn(row)) << kind.name << ": places: " << place;
            if (testing::Test::HasFailure())
            {
                return;
            }
        }
        // What no failure leaves is not to be promised as something that one may leave.
        for (std::size_t number = 0; everyCalleeCanFail && number < alsoAllowed.size(); ++number)
        {
            EXPECT_TRUE(left.contains(alsoAllowed[number])) << "state " << number << " that it may leave";
        }
    }

private:
    using Step = typename FaultRow<World>::Step;

    std::string stateAfter(const Step& step) const
    {
        World world;
        prepare(world);
        run([&] { step(world); });
        return world.takeState();
    }

    void prepare(World& world) const
    {
        if (row.prepare)
        {
            row.prepare(world);
        }
        world.answer = Answer::None;
    }

    bool failsAt(std::size_t place, const KindOfFault& kind)
    {
        SCOPED_TRACE(row.name + ", " + kind.name + " at place " + std::to_string(place));
        bool hasFailed = false;
        {
            World world;
            prepare(world);
            Escaped escaped = Escaped::Nothing;
            {
                const auto fault = kind.make(place);
                escaped = run([&] { row.operation(world); });
                hasFailed = fault->hasFailed();
            }
            if (hasFailed)
            {
                checkEscaped(escaped, kind);
                checkState(world, escaped);
            }
        }
        EXPECT_EQ(World::livingCommands(), 0) << "commands that nobody destroyed";
        return hasFailed;
    }

    void checkEscaped(Escaped escaped, const KindOfFault& kind) const
    {
        if (kind.isStranger)
        {
            EXPECT_EQ(escaped, Escaped::Stranger);
        }
        if (row.keepsExceptions)
        {
            EXPECT_NE(escaped, Escaped::StandardException);
        }
    }

    void checkState(World& world, Escaped escaped)
    {
        const bool succeeded = escaped == Escaped::Nothing && world.succeeded();
        std::vector<std::string> allowed = alsoAllowed;
        if (row.leftByListeners && isNotification())
        {
            allowed = {stateAfter(row.leftByListeners)};
        }
        else if (succeeded || isNotification())
        {
            allowed.push_back(after);
        }
        else if (!row.alwaysEnds)
        {
            allowed.push_back(before);
        }
        const std::string state = world.takeState();
        EXPECT_THAT(allowed, testing::Contains(state)) << (succeeded ? "succeeded all the same" : "failed");
        left.insert(state);
    }

    static bool isNotification()
    {
        return failedCallOut().hasFailed && failedCallOut().callee == Callee::Notification;
    }

    const FaultRow<World>& row;
    std::string before;
    std::string after;
    std::vector<std::string> alsoAllowed;
    std::set<std::string> left;
};

template <typename World>
std::string nameOfTest(const testing::TestParamInfo<FaultRow<World>>& tested)
{
    return tested.param.testName();
}

template <typename World>
void failEverywhere(const FaultRow<World>& row)
{
    FailEverywhere<World>(row).check();
}

} // namespace Valdane::Faults
