#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Service/CommandTesting/Page.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/NamedObject.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

/// Works on the worker, and hands its result over on the caller's thread.
class MeasureCommand : public ThreadedCommand
{
public:
    explicit MeasureCommand(Page& measuredPage, bool isQueued = true)
        : ThreadedCommand("Measure"), page(measuredPage), isAddable(isQueued)
    {
    }

    void execute() override
    {
        ThreadedCommand::execute();
        page.text = result;
    }

    void run() override
    {
        result = "measured";
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            page.text = result;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void undo() override
    {
        page.text = "none";
    }

    bool isAddableToCommandManager() const override
    {
        return isAddable;
    }

private:
    Page& page;
    std::string result;
    bool isAddable;
};

/// Hands its result over only on the worker.
class ForgetfulMeasureCommand : public MeasureCommand
{
public:
    using MeasureCommand::MeasureCommand;

    void sendFinishSignal(bool ok) override
    {
        ThreadedCommand::sendFinishSignal(ok);
    }
};

class PlantSpeed : public NamedObject
{
public:
    PlantSpeed() : NamedObject("plant", "Plant")
    {
        addAttributeDescription(std::make_shared<AttributeDescription<int>>(
            "speed", [this] { return speed; }, [this](const int& newSpeed) { speed = newSpeed; }));
    }

    int speed = 1;
};

class RoundTripTest : public testing::Test
{
protected:
    CommandKit<Page> kit = makePageKit();

    std::string textOf(const std::function<void(ScriptedCommand&, Page&)>& spoil)
    {
        return kit.roundTrip(spoilt(spoil)).toText();
    }
};

TEST_F(RoundTripTest, RightCommandsHaveNoMistakes)
{
    EXPECT_EQ(kit.roundTrip(renameTo("fan")).toText(), "Round trip of \"Rename to fan\": no mistakes\n");
    EXPECT_EQ(textOf([](ScriptedCommand&, Page&) {}), "Round trip of \"Write\": no mistakes\n");
}

TEST_F(RoundTripTest, TheCommandsOfTheLibraryHaveNoMistakes)
{
    CommandKit<PlantSpeed> plantKit([] { return std::make_shared<PlantSpeed>(); }, [](const PlantSpeed& plant)
                                    { return plant.shownName + "\n" + std::to_string(plant.speed); });
    const auto rename = [](const std::shared_ptr<PlantSpeed>& plant)
    {
        return std::make_shared<SetNameCmd>(plant, "Works", "Rename plant");
    };
    const auto setSpeed = [](const std::shared_ptr<PlantSpeed>& plant)
    {
        const Path path = plant->getPath(plant.get(), "speed", RequestedPathType::FromRoot);
        return std::make_shared<SetAttributeCmd<int>>(plant, path, 2, "");
    };
    EXPECT_EQ(plantKit.all(rename).toText(),
              "All checks of \"Rename plant\", without failing allocations: no mistakes\n");
    EXPECT_EQ(plantKit.all(setSpeed).toText(),
              "All checks of \"Set speed\", without failing allocations: no mistakes\n");
    const Report macro = plantKit.inMacro({rename, setSpeed});
    EXPECT_TRUE(macro) << macro;
}

TEST_F(RoundTripTest, ACommandThatIsNotRedoCapableIsOnlyUndone)
{
    int undone = 0;
    EXPECT_EQ(textOf(
                  [&](ScriptedCommand& command, Page& page)
                  {
                      command.redoCapable = false;
                      command.onRedo = fail;
                      command.onUndo = [&]
                      {
                          page.text = "none";
                          ++undone;
                      };
                  }),
              "Round trip of \"Write\": no mistakes\n");
    EXPECT_EQ(undone, 2) << "by itself and through the manager";
}

TEST_F(RoundTripTest, AnUndoThatIsNotTheInverseShowsTheDifference)
{
    EXPECT_EQ(textOf(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onUndo = [&page]
                      {
                          page.text = "nothing";
                      };
                  }),
              "Round trip of \"Write\": 1 mistake\n"
              "  After undo 1 the data are not as before execute() (- expected, + found):\n"
              "      title: pump\n"
              "    - text: none\n"
              "    + text: nothing\n");
}

TEST_F(RoundTripTest, ARedoThatIsNotExecuteShowsTheDifference)
{
    EXPECT_EQ(textOf(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onRedo = [&page]
                      {
                          page.text += ", done";
                      };
                  }),
              "Round trip of \"Write\": 1 mistake\n"
              "  After redo 1 the data are not as after execute() (- expected, + found):\n"
              "      title: pump\n"
              "    - text: done\n"
              "    + text: none, done\n");
}

/// The third redo of such a command fails.
void wearOut(ScriptedCommand& command, Page& page)
{
    command.onRedo = [&page, left = 2]() mutable
    {
        if (left-- == 0)
        {
            fail();
        }
        page.text = "done";
    };
}

TEST_F(RoundTripTest, ACommandThatWearsOutIsFoundIfItIsTriedOftenEnough)
{
    EXPECT_EQ(kit.roundTrip(spoilt(wearOut)).toText(), "Round trip of \"Write\": 1 mistake\n"
                                                       "  Redo 3 throws: no power\n");
    EXPECT_TRUE(kit.roundTrip(spoilt(wearOut), {.times = 2}));
}

TEST_F(RoundTripTest, FewerThanOnceIsOnce)
{
    const auto wrongUndo = spoilt([](ScriptedCommand& command, Page&) { command.onUndo = fail; });
    EXPECT_EQ(kit.roundTrip(wrongUndo, {.times = 0}).toText(), "Round trip of \"Write\": 1 mistake\n"
                                                               "  Undo 1 throws: no power\n");
}

TEST_F(RoundTripTest, WhatIsThrownIsAMistakeOfItsStep)
{
    EXPECT_EQ(textOf([](ScriptedCommand& command, Page&) { command.onExecute = fail; }),
              "Round trip of \"Write\": 1 mistake\n"
              "  execute() throws: no power\n");
    EXPECT_EQ(textOf([](ScriptedCommand& command, Page&) { command.onUndo = failStrangely; }),
              "Round trip of \"Write\": 1 mistake\n"
              "  Undo 1 throws something that is not derived from std::exception\n");
}

TEST_F(RoundTripTest, WhatFailsTellsWhatItHasLeftBehind)
{
    EXPECT_EQ(textOf(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onExecute = [&page]
                      {
                          page.text = "half";
                          fail();
                      };
                  }),
              "Round trip of \"Write\": 1 mistake\n"
              "  execute() throws: no power; then the data are not as before (- expected, + found):\n"
              "      title: pump\n"
              "    - text: none\n"
              "    + text: half\n");
}

TEST_F(RoundTripTest, WhatFailsIsToldEvenIfWhatItHasLeftCannotBe)
{
    const CommandKit<Page> strict(
        [] { return std::make_unique<Page>(); }, [](const Page& page)
        { return page.text == "half" ? throw std::runtime_error("half a page") : page.text; });
    const auto halfway = spoilt(
        [](ScriptedCommand& command, Page& page)
        {
            command.onExecute = [&page]
            {
                page.text = "half";
                fail();
            };
        });
    EXPECT_EQ(strict.roundTrip(halfway).toText(),
              "Round trip of \"Write\": 1 mistake\n"
              "  execute() throws: no power; then: Taking a snapshot throws: half a page\n");
}

TEST_F(RoundTripTest, AMacroLeavesBehindOnlyWhatItDoesNotRollBack)
{
    const auto macroOf = [](void (*failing)())
    {
        return [failing](Page& page)
        {
            auto macro = std::make_shared<MacroCommand>("Rename and write");
            macro->addCommand(std::make_shared<RenameCommand>(page, "fan"));
            macro->addCommand(
                spoilt([failing](ScriptedCommand& command, Page&) { command.onExecute = failing; })(page));
            return macro;
        };
    };
    EXPECT_EQ(kit.roundTrip(macroOf(fail)).toText(), "Round trip of \"Rename and write\": 1 mistake\n"
                                                     "  execute() throws: no power\n");
    const std::string strangely = "throws something that is not derived from std::exception\n";
    EXPECT_EQ(kit.roundTrip(macroOf(failStrangely)).toText(),
              "Round trip of \"Rename and write\": 1 mistake\n  execute() " + strangely)
        << "no macro rolls back for it";
    EXPECT_EQ(kit.all(macroOf(failStrangely)).toText(),
              "All checks of \"Rename and write\", without failing allocations: 1 mistake\n"
              "  Misuse of \"Rename and write\":\n"
              "    execute() " +
                  strangely);
}

TEST_F(RoundTripTest, AMacroOfThreadsThatLeavesSomethingOnTheWorkerIsFound)
{
    // Fails on the worker only.
    class Unready : public MeasureCommand
    {
    public:
        using MeasureCommand::MeasureCommand;

        void execute() override {}

        void undo() override
        {
            wasUndone = true;
        }

        void run() override
        {
            fail();
        }

        bool wasUndone = false;
    };

    const auto make = [](Page& page)
    {
        const auto unready = std::make_shared<Unready>(page);
        auto write = makeTextCommand(page);
        write->onUndo = [&page, unready]
        {
            page.text = unready->wasUndone ? "none" : "left";
        };
        auto macro = std::make_shared<ThreadedMacroCommand>("Write and measure");
        macro->addCommand(write);
        macro->addCommand(unready);
        return macro;
    };
    EXPECT_EQ(kit.roundTrip(make).toText(), "Round trip of \"Write and measure\": 1 mistake\n"
                                            "  execute() by addThreadedCommand() fails: no power; then the "
                                            "data are not as before (- expected, + found):\n"
                                            "      title: pump\n"
                                            "    - text: none\n"
                                            "    + text: left\n");
}

/// A command that wants a manager, or refuses one: it sees by its progress who runs it.
void failInManager(ScriptedCommand& command, Page& page)
{
    command.onUndo = [&command, &page]
    {
        if (command.getProgress()->fraction() == 1)
        {
            failAgain();
        }
        page.text = "none";
    };
}

TEST_F(RoundTripTest, TheManagerRunsItToo)
{
    EXPECT_EQ(kit.roundTrip(spoilt(failInManager)).toText(),
              "Round trip of \"Write\": 1 mistake\n"
              "  Undo 1 through a CommandManager fails: stuck\n");
}

TEST_F(RoundTripTest, ACommandThatChangesNothingIsAMistakeUnlessItIsMeant)
{
    const auto idle = [](Page& page)
    {
        return std::make_shared<RenameCommand>(page, page.title);
    };
    EXPECT_EQ(kit.roundTrip(idle).toText(), "Round trip of \"Rename to pump\": 1 mistake\n"
                                            "  execute() changes nothing that the snapshot shows, so nothing "
                                            "is proved of undo(); if that is meant, "
                                            "say so by RoundTripOptions::changesNothing\n");
    EXPECT_TRUE(kit.roundTrip(idle, {.changesNothing = true}));
    EXPECT_EQ(kit.roundTrip(renameTo("fan"), {.changesNothing = true}).toText(),
              "Round trip of \"Rename to fan\": 1 mistake\n"
              "  execute() changes the data, but RoundTripOptions::changesNothing says that it does not (- "
              "before, + after):\n"
              "    - title: pump\n"
              "    + title: fan\n");
}

TEST_F(RoundTripTest, ThreadsRunOnTheWorkerToo)
{
    const auto measure = [](Page& page)
    {
        return std::make_shared<MeasureCommand>(page);
    };
    EXPECT_EQ(kit.roundTrip(measure).toText(), "Round trip of \"Measure\": no mistakes\n");
    const auto unqueued = [](Page& page)
    {
        return std::make_shared<MeasureCommand>(page, false);
    };
    EXPECT_TRUE(kit.roundTrip(unqueued));
    const auto forgetful = [](Page& page)
    {
        return std::make_shared<ForgetfulMeasureCommand>(page);
    };
    EXPECT_EQ(
        kit.roundTrip(forgetful).toText(),
        "Round trip of \"Measure\": 1 mistake\n"
        "  execute() changes nothing that the snapshot shows, so nothing is proved of undo(); if that is "
        "meant, say so by RoundTripOptions::changesNothing\n")
        << "on the worker";
}

TEST_F(RoundTripTest, MacrosOfThreadsRunOnTheWorkerToo)
{
    const auto macroOf = [](const auto& makeLast)
    {
        return [makeLast](Page& page)
        {
            auto macro = std::make_shared<ThreadedMacroCommand>("Measure and write");
            macro->addCommand(std::make_shared<MeasureCommand>(page));
            macro->addCommand(makeLast(page));
            return macro;
        };
    };
    EXPECT_EQ(kit.roundTrip(macroOf(renameTo("fan"))).toText(),
              "Round trip of \"Measure and write\": no mistakes\n");
    const auto failing = spoilt([](ScriptedCommand& command, Page&) { command.onExecute = fail; });
    EXPECT_EQ(kit.roundTrip(macroOf(failing)).toText(), "Round trip of \"Measure and write\": 1 mistake\n"
                                                        "  execute() throws: no power\n");
}

TEST_F(RoundTripTest, ACommandThatIsMadeWhenItStartsRunsOnTheWorkerOnly)
{
    const auto delayed = [](Page& page)
    {
        return std::make_shared<DelayedInitializedCommand>([&page] { return makeTextCommand(page); });
    };
    EXPECT_EQ(kit.roundTrip(delayed).toText(), "Round trip of \"DelayedInitializedCommand\": no mistakes\n");
    const auto failing = [](Page&)
    {
        return std::make_shared<DelayedInitializedCommand>([]() -> std::shared_ptr<CommandBase> { fail(); });
    };
    EXPECT_EQ(kit.roundTrip(failing).toText(), "Round trip of \"DelayedInitializedCommand\": 1 mistake\n"
                                               "  execute() by addThreadedCommand() fails: no power\n");
}

TEST_F(RoundTripTest, WhatTheKitIsGivenMayBeWrong)
{
    const auto none = [](Page&)
    {
        return std::shared_ptr<CommandBase>();
    };
    EXPECT_EQ(kit.roundTrip(none).toText(), "Round trip: 1 mistake\n"
                                            "  Making the command gives an empty pointer\n");
    const auto failing = [](Page&) -> std::shared_ptr<CommandBase>
    {
        fail();
    };
    EXPECT_EQ(kit.roundTrip(failing).toText(), "Round trip: 1 mistake\n"
                                               "  Making the command throws: no power\n");
    const CommandKit<Page> noWorld([] { return std::unique_ptr<Page>(); }, [](const Page&) { return 1; });
    EXPECT_EQ(noWorld.roundTrip(renameTo("fan")).toText(), "Round trip: 1 mistake\n"
                                                           "  Making the world gives an empty pointer\n");
    const CommandKit<Page> noSnapshot([] { return std::make_unique<Page>(); },
                                      [](const Page&) -> std::string { fail(); });
    EXPECT_EQ(noSnapshot.roundTrip(renameTo("fan")).toText(), "Round trip of \"Rename to fan\": 1 mistake\n"
                                                              "  Taking a snapshot throws: no power\n");
}

} // namespace
} // namespace Valdane
