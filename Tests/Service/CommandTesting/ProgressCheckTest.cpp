#include "Platform/GeneralServices/LegacyProgress.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Service/CommandTesting/Page.h"
#include "Tests/Support/Failures.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

/// Makes a command that moves its progress to these fractions.
auto movingTo(const std::vector<double>& fractions)
{
    return spoilt(
        [fractions](ScriptedCommand& command, Page&)
        {
            command.onExecute = [&command, fractions]
            {
                for (const double fraction : fractions)
                {
                    fraction == 0 ? command.getProgress()->reset()
                                  : command.getProgress()->moveTo(fraction * LegacyProgress::FullRange);
                }
            };
        });
}

std::string progressReport(const std::vector<double>& fractions, double largestMove)
{
    return makePageKit().progress(movingTo(fractions), largestMove).toText();
}

const std::string rightProgress = "Progress of \"Write\": no mistakes\n";

TEST(ProgressCheckTest, ACommandThatMovesOftenEnoughHasNoMistakes)
{
    EXPECT_EQ(progressReport({0.25, 0.5, 0.75}, 0.25), rightProgress);
    EXPECT_EQ(progressReport({0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0}, 0.1), rightProgress);
    EXPECT_EQ(progressReport({}, 1), rightProgress);
    EXPECT_EQ(progressReport({0, 1}, 1), rightProgress) << "a reset before it has moved";
}

TEST(ProgressCheckTest, AMoveThatIsNoShareIsRefused)
{
    for (const double wrong : {-0.1, 1.1, std::numeric_limits<double>::quiet_NaN()})
    {
        EXPECT_EQ(progressReport({0.5}, wrong), "Progress of \"Write\": 1 mistake\n"
                                                "  The largest move that is allowed must be from 0 to 1\n");
    }
    EXPECT_EQ(progressReport({0.5}, 0),
              "Progress of \"Write\": 1 mistake\n"
              "  The progress moves from 0 % to 50 % at once; the largest move allowed is 0 %\n");
}

TEST(ProgressCheckTest, AMacroMovesWithEachOfItsCommands)
{
    const auto macro = [](Page& page)
    {
        auto made = std::make_shared<MacroCommand>("Write twice");
        made->addCommand(makeTextCommand(page));
        made->addCommand(makeTextCommand(page));
        return made;
    };
    EXPECT_EQ(makePageKit().progress(macro, 0.5).toText(), "Progress of \"Write twice\": no mistakes\n");
    EXPECT_FALSE(makePageKit().progress(macro, 0.4));
}

TEST(ProgressCheckTest, AMoveThatIsTooLargeIsFoundWhereverItIs)
{
    EXPECT_EQ(progressReport({0.6, 0.8}, 0.5),
              "Progress of \"Write\": 1 mistake\n"
              "  The progress moves from 0 % to 60 % at once; the largest move allowed is 50 %\n");
    EXPECT_EQ(progressReport({0.25, 0.375}, 0.5),
              "Progress of \"Write\": 1 mistake\n"
              "  The progress moves from 37.5 % to 100 % at once; the largest move allowed is 50 %\n");
}

TEST(ProgressCheckTest, AProgressThatRunsBackwardsIsFound)
{
    EXPECT_EQ(progressReport({0.5, 0, 0.5}, 0.5), "Progress of \"Write\": 1 mistake\n"
                                                  "  The progress runs backwards, from 50 % to 0 %\n");
}

TEST(ProgressCheckTest, ACommandThatFailsOrHasNoProgressIsFound)
{
    const auto failing = spoilt([](ScriptedCommand& command, Page&) { command.onExecute = fail; });
    EXPECT_EQ(makePageKit().progress(failing).toText(), "Progress of \"Write\": 1 mistake\n"
                                                        "  execute() fails: no power\n");
    const auto movedFrom = [](Page&)
    {
        auto made = std::make_shared<MacroCommand>("moved");
        const MacroCommand other = std::move(*made);
        return made;
    };
    EXPECT_EQ(makePageKit().progress(movedFrom).toText(),
              "Progress of \"Valdane::MacroCommand\": 1 mistake\n"
              "  The command has no progress, because it was moved from\n");
}

TEST(ProgressCheckTest, AProgressThatIsNotSeenToItsEndIsFound)
{
    const auto hiding = spoilt(
        [](ScriptedCommand& command, Page&)
        {
            command.onExecute = [&command]
            {
                command.getProgress()->moveTo(0.5 * LegacyProgress::FullRange);
                command.getProgress()->setChangeCallback({});
            };
        });
    EXPECT_EQ(makePageKit().progress(hiding).toText(),
              "Progress of \"Write\": 1 mistake\n"
              "  The progress ends at 50 %, or the command has taken its change callback away\n");
}

TEST(ProgressCheckTest, AProgressThatHasMovedAlreadyIsFound)
{
    const auto begun = spoilt([](ScriptedCommand& command, Page&)
                              { command.getProgress()->moveTo(0.5 * LegacyProgress::FullRange); });
    EXPECT_EQ(makePageKit().progress(begun).toText(), "Progress of \"Write\": 1 mistake\n"
                                                      "  The progress begins at 50 %\n");
}

} // namespace
} // namespace Valdane
