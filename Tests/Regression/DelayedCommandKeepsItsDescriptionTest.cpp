// A delayed command took over the description of the command that it had made before it took over the command.
// Where the latter failed, the next start made another command, but the delayed one kept the description of
// the first.

#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>

namespace Valdane
{
namespace
{

/// Starts a delayed command whose start fails at one allocation. @return whether it did
bool failsAt(std::size_t place)
{
    const std::string unusable = "a description that nobody is to see any more";
    const std::string usable = "a description that takes its place in the end";
    auto made = std::make_shared<ScriptedCommand>(unusable);
    DelayedInitializedCommand delayed([&] { return made; });
    bool failed = false;
    {
        const FailingAllocation failure(place);
        try
        {
            delayed.startExecution(nullptr);
        }
        catch (const std::bad_alloc&)
        {
            failed = true;
        }
    }
    if (failed && delayed.empty())
    {
        EXPECT_EQ(delayed.CommandBase::getDescription(), "DelayedInitializedCommand") << place;
        made = std::make_shared<ScriptedCommand>(usable);
        delayed.startExecution(nullptr);
        EXPECT_EQ(delayed.CommandBase::getDescription(), usable) << place;
        EXPECT_EQ(delayed.size(), 1U) << place;
    }
    return failed;
}

TEST(DelayedCommandKeepsItsDescription, UntilItHasItsCommand)
{
    std::size_t place = 0;
    while (failsAt(place))
    {
        ++place;
    }
    EXPECT_GE(place, 2U);
}

} // namespace
} // namespace Valdane
