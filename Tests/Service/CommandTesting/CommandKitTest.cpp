#include "Service/CommandTesting/CommandKit.h"

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Tests/Service/CommandTesting/Page.h"
#include "Tests/Support/Failures.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

namespace Valdane
{
namespace
{

TEST(CommandKitTest, AllFindsWhatTheChecksFindUnderTheirNames)
{
    const auto wrong = spoilt(
        [](ScriptedCommand& command, Page&)
        {
            command.onUndo = nullptr;
            command.onExecute = [&command]
            {
                command.getProgress()->setComplete();
                command.getProgress()->reset();
            };
        });
    EXPECT_EQ(makePageKit().all(wrong, {.changesNothing = true}).toText(),
              "All checks of \"Write\": 1 mistake\n"
              "  Progress of \"Write\":\n"
              "    The progress runs backwards, from 100 % to 0 %\n");
}

TEST(CommandKitTest, AllTellsOfMisuseOnly)
{
    const auto none = [](Page&)
    {
        return std::shared_ptr<CommandBase>();
    };
    EXPECT_EQ(makePageKit().all(none).toText(), "All checks: 1 mistake\n"
                                                "  Misuse:\n"
                                                "    Making the command gives an empty pointer\n");
}

TEST(CommandKitTest, AllPassesTheOptionsOn)
{
    EXPECT_EQ(makePageKit().all(renameTo("pump")).getMistakes().size(), 1U);
    EXPECT_TRUE(makePageKit().all(renameTo("pump"), {.changesNothing = true}));
}

TEST(CommandKitTest, OutsideOfAFailureCheckNothingFails)
{
    const CommandKit<Page> kit = makePageKit();
    kit.failAt("write file");
    const auto write = spoilt(
        [&kit](ScriptedCommand& command, Page& page)
        {
            command.onExecute = [&kit, &page]
            {
                kit.failAt("write file");
                page.text = "done";
            };
        });
    EXPECT_TRUE(kit.roundTrip(write));
}

/// Cannot be compared with another one.
struct Incomparable
{
    bool operator==(const Incomparable& /*other*/) const
    {
        fail();
    }

    friend std::ostream& operator<<(std::ostream& out, const Incomparable& /*value*/)
    {
        return out;
    }
};

TEST(CommandKitTest, ASnapshotThatCannotBeComparedIsAMistake)
{
    const CommandKit<Page> kit([] { return std::make_unique<Page>(); },
                               [](const Page&) { return Incomparable(); });
    EXPECT_EQ(kit.roundTrip(renameTo("fan")).toText(), "Round trip of \"Rename to fan\": 1 mistake\n"
                                                       "  The check cannot be completed: no power\n");
}

} // namespace
} // namespace Valdane
