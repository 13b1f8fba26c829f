#include "Service/CommandTesting/CommandKit.h"

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Tests/Service/CommandTesting/Page.h"
#include "Tests/Support/Failures.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <stdexcept>
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
              "All checks of \"Write\", without failing allocations: 1 mistake\n"
              "  Progress of \"Write\":\n"
              "    The progress runs backwards, from 100 % to 0 %\n");
}

TEST(CommandKitTest, AllTellsOfMisuseOnly)
{
    const auto none = [](Page&)
    {
        return std::shared_ptr<CommandBase>();
    };
    EXPECT_EQ(makePageKit().all(none).toText(), "All checks, without failing allocations: 1 mistake\n"
                                                "  Misuse:\n"
                                                "    Making the command gives an empty pointer\n");
}

TEST(CommandKitTest, AllTellsWhatACommandThatFailsHasLeftBehind)
{
    const auto halfway = spoilt(
        [](ScriptedCommand& command, Page& page)
        {
            command.onExecute = [&page]
            {
                page.text = "half";
                fail();
            };
        });
    EXPECT_EQ(makePageKit().all(halfway).toText(),
              "All checks of \"Write\", without failing allocations: 1 mistake\n"
              "  Misuse of \"Write\":\n"
              "    execute() fails: no power; then the data are not as before (- expected, + found):\n"
              "        title: pump\n"
              "      - text: none\n"
              "      + text: half\n");
}

TEST(CommandKitTest, AMakerThatFailsWheneverItDoesIsAMistake)
{
    int whole = 0;
    EXPECT_TRUE(makePageKit().all(
        [&whole](Page& page)
        {
            ++whole;
            return makeTextCommand(page);
        }));
    ASSERT_GT(whole, 10);
    for (int last = 0; last < whole; ++last)
    {
        int made = 0;
        const auto ending = [&](Page& page)
        {
            return made++ < last ? makeTextCommand(page) : throw std::runtime_error("no more");
        };
        const Report report = makePageKit().all(ending);
        ASSERT_FALSE(report) << last;
        EXPECT_NE(report.toText().find("Making the command throws: no more"), std::string::npos)
            << last << report;
    }
}

TEST(CommandKitTest, WorldsAndCommandsDieBeforeACheckReturns)
{
    int alive = 0;

    struct Counted : Page
    {
        explicit Counted(int& count) : counter(count)
        {
            ++counter;
        }

        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;

        ~Counted()
        {
            --counter;
        }

        int& counter;
    };

    const CommandKit<Counted> kit([&alive] { return std::make_unique<Counted>(alive); },
                                  [](const Counted& page) { return page.toText(); });
    for (const bool isRight : {true, false})
    {
        const auto make = [&](Counted& page)
        {
            auto command = makeTextCommand(page);
            ++alive;
            command->onDestroy = [&alive]
            {
                --alive;
            };
            command->onUndo = isRight ? command->onUndo : fail;
            return command;
        };
        EXPECT_EQ(bool(kit.all(make)), isRight);
        EXPECT_EQ(alive, 0);
        EXPECT_EQ(bool(kit.inMacro({make, make})), isRight);
        EXPECT_EQ(alive, 0);
        kit.staleObjects(make, make);
        EXPECT_EQ(alive, 0);
    }
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

TEST(CommandKitTest, CopiesShareTheFailurePoints)
{
    const CommandKit<Page> kit = makePageKit();
    const CommandKit<Page> copy = kit; // NOLINT(performance-unnecessary-copy-initialization): what is tested
    const auto write = spoilt(
        [&kit](ScriptedCommand& command, Page& page)
        {
            command.onExecute = [&kit, &page]
            {
                page.text = "done";
                kit.failAt("write file");
            };
        });
    EXPECT_FALSE(copy.failures(write));
}

/// Prints nothing.
struct Silent
{
    std::string text;

    bool operator==(const Silent& other) const = default;

    friend std::ostream& operator<<(std::ostream& out, const Silent& /*value*/)
    {
        return out;
    }
};

TEST(CommandKitTest, ADifferenceThatNoLineShowsIsToldWithoutSigns)
{
    const CommandKit<Page> kit([] { return std::make_unique<Page>(); },
                               [](const Page& page) { return Silent{page.text}; });
    const auto wrong = spoilt([](ScriptedCommand& command, Page&) { command.onUndo = nullptr; });
    EXPECT_EQ(kit.roundTrip(wrong).toText(),
              "Round trip of \"Write\": 1 mistake\n"
              "  After undo 1 the data are not as before execute():\n"
              "    The values differ, but are the same when they are printed\n");
}

/// Cannot be compared with another one.
template <auto failing>
struct Incomparable
{
    bool operator==(const Incomparable& /*other*/) const
    {
        failing();
        return true;
    }

    friend std::ostream& operator<<(std::ostream& out, const Incomparable& /*value*/)
    {
        return out;
    }
};

TEST(CommandKitTest, ASnapshotThatCannotBeComparedIsAMistake)
{
    const CommandKit<Page> kit([] { return std::make_unique<Page>(); },
                               [](const Page&) { return Incomparable<fail>(); });
    EXPECT_EQ(kit.roundTrip(renameTo("fan")).toText(), "Round trip of \"Rename to fan\": 1 mistake\n"
                                                       "  The check cannot be completed: no power\n");
    const CommandKit<Page> strange([] { return std::make_unique<Page>(); },
                                   [](const Page&) { return Incomparable<failStrangely>(); });
    EXPECT_EQ(strange.roundTrip(renameTo("fan")).toText(),
              "Round trip of \"Rename to fan\": 1 mistake\n"
              "  The check cannot be completed: something throws what is not derived from std::exception\n");
}

} // namespace
} // namespace Valdane
