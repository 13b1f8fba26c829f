// What becomes of the files of a session if memory is short while one of them is loaded.

#include "Service/CommandTesting/Allocations.h"
#include "Tests/Applications/ModelEditor/SessionFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace
{

using testing::EndsWith;
using testing::HasSubstr;

class SessionMemoryTest : public SessionFixture
{
protected:
    /// Lets the allocation after @p successes others fail while @p line is carried out, then undoes.
    ///
    /// @return whether it was that line that failed.
    bool failsIn(const std::string& line, std::size_t successes)
    {
        std::optional<Valdane::FailingAllocation> failing;
        const auto begin = [&]
        {
            failing.emplace(successes);
        };
        const auto end = [&]
        {
            hasFailed = failing->hasFailed();
            failing.reset();
        };
        isOver = false;
        try
        {
            type({"set /a/@x 2", begin, line, end, "undo", "find /*/@*"});
        }
        catch (const std::bad_alloc&)
        {
            isOver = true; // of what is beside the line
            end();
            return false;
        }
        return !err.str().empty();
    }

    bool hasFailed = true;
    bool isOver = false; // the session, at once
};

TEST_F(SessionMemoryTest, AReloadThatFailsLeavesUndoAsItWas)
{
    std::size_t failures = 0;
    for (std::size_t successes = 0; hasFailed; ++successes)
    {
        if (failsIn("reload!", successes))
        {
            ++failures;
            EXPECT_THAT(out.str(), EndsWith("Undone: Set x of a to 2\n  /a/@x: 2 -> 1\n/a/@x = 1\n1 node\n"))
                << successes;
        }
    }
    EXPECT_THAT(out.str(), HasSubstr("the history is empty\nNothing to undo\n"));
    EXPECT_GT(failures, 20U);
}

// Telling of the file that is open now is a step that may fail, too.
TEST_F(SessionMemoryTest, AfterAnOpenThatFailsUndoConcernsTheFileThatIsCurrent)
{
    const auto second = directory.write("n.xml", "<b y='1'/>\n");
    std::size_t failures = 0;
    for (std::size_t successes = 0; hasFailed; ++successes)
    {
        const bool isFailure = failsIn("open " + second, successes);
        const bool isSecond = out.str().find("/b/@y = 1\n") != std::string::npos;
        failures += isFailure && !isSecond ? 1 : 0;
        if (isOver)
        {
            continue;
        }
        EXPECT_THAT(out.str(),
                    HasSubstr(isSecond ? "Nothing to undo\n/b/@y = 1\n1 node\n"
                                       : "Undone: Set x of a to 2\n  /a/@x: 2 -> 1\n/a/@x = 1\n1 node\n"))
            << successes;
    }
    EXPECT_GT(failures, 20U);
}

} // namespace
