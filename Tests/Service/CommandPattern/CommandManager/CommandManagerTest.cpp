#include "Service/CommandPattern/CommandManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/RecordingSink.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <concepts>
#include <cstdint>
#include <limits>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using ValdaneTests::ElementsAre;
using Descriptions = std::list<std::string>;

static_assert(!std::is_copy_constructible_v<CommandManager> && !std::is_copy_assignable_v<CommandManager>);
static_assert(!std::is_move_constructible_v<CommandManager> && !std::is_move_assignable_v<CommandManager>);
static_assert(std::is_default_constructible_v<CommandManager>);
static_assert(std::same_as<decltype(&CommandManager::addCommand),
                           bool (CommandManager::*)(std::shared_ptr<CommandBase>)>);
static_assert(std::same_as<decltype(&CommandManager::undo), bool (CommandManager::*)(std::uint64_t)>);
static_assert(std::same_as<decltype(&CommandManager::redo), bool (CommandManager::*)(std::uint64_t)>);
static_assert(
    std::same_as<decltype(&CommandManager::getQueueSize), std::uint64_t (CommandManager::*)() const>);
static_assert(
    std::same_as<decltype(&CommandManager::getMaxQueueSize), std::uint32_t (CommandManager::*)() const>);
static_assert(std::same_as<decltype(CommandManager::ChangeTrackerCount), const std::uint64_t> &&
              CommandManager::ChangeTrackerCount == 2);
static_assert(CommandManager::CommandUndone == 0 && CommandManager::CommandRedone == 1 &&
              CommandManager::QueueCleared == 2 && CommandManager::CommandAdded == 3);
static_assert(std::convertible_to<CommandManager::QueueChangeReason, int>, "an unscoped enumeration");

constexpr std::uint64_t everything = std::numeric_limits<std::uint64_t>::max();

/// Fails on demand, which leaves the queue longer than the limit allows.
class FailingModules : public ModuleAccessInterface
{
public:
    void markAllModulesInBusinessAsUnmodified() override
    {
        if (fails)
        {
            throw std::runtime_error("no modules");
        }
    }

    bool fails = false;
};

class CommandManagerTest : public testing::Test
{
protected:
    CommandManagerTest()
    {
        logger->sinks() = {sink};
    }

    ~CommandManagerTest() override
    {
        logger->sinks() = sinksBefore;
        logger->set_level(levelBefore);
    }

    std::shared_ptr<ScriptedCommand> add(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        EXPECT_TRUE(manager.addCommand(command));
        return command;
    }

    /// Adds a command that only the queue holds.
    std::weak_ptr<CommandBase> addUnheld(const std::string& name)
    {
        return add(name);
    }

    void addBeyondTheLimit(const std::string& name)
    {
        modules->fails = true;
        EXPECT_THROW(manager.addCommand(std::make_shared<ScriptedCommand>(name)), std::runtime_error);
        modules->fails = false;
    }

    Descriptions undoable() const
    {
        return manager.collectUndoCommandDescriptions();
    }

    Descriptions redoable() const
    {
        return manager.collectRedoCommandDescriptions();
    }

    const std::shared_ptr<spdlog::logger> logger = spdlog::get("Service/CommandPattern/CommandManager");
    const std::vector<spdlog::sink_ptr> sinksBefore = logger->sinks();
    const spdlog::level::level_enum levelBefore = logger->level();
    const std::shared_ptr<Testing::RecordingSink> sink = std::make_shared<Testing::RecordingSink>();

    CommandManager manager;
    std::shared_ptr<FailingModules> modules = [this]
    {
        auto made = std::make_shared<FailingModules>();
        manager.setModuleAccessInterface(made);
        return made;
    }();

    std::vector<std::string> signals;
    Signals::Connection executed =
        manager.connectToSigCommandExecuted([this] { signals.emplace_back("executed"); });
    Signals::Connection undone =
        manager.connectToSigCommandUndone([this] { signals.emplace_back("undone"); });
    Signals::Connection failed =
        manager.connectToSigCommandFailed([this](const char* what, const std::string& description)
                                          { signals.push_back("failed " + description + ": " + what); });
    Signals::Connection queueChanged =
        manager.connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason reason)
                                                { signals.push_back("changed " + std::to_string(reason)); });
    Signals::Connection completed =
        manager.connectToSigUndoRedoProcessCompleted([this] { signals.emplace_back("completed"); });
    Signals::Connection started =
        manager.connectToSigThreadedCommandStarted([this] { signals.emplace_back("started"); });
    Signals::Connection finished =
        manager.connectToSigThreadedCommandFinished([this] { signals.emplace_back("finished"); });
};

// Queues.

TEST_F(CommandManagerTest, ANewManagerHasNothingToUndoAndALimitOf25ThatIsOff)
{
    EXPECT_FALSE(manager.canUndo());
    EXPECT_FALSE(manager.canRedo());
    EXPECT_EQ(manager.getUndoCommand(), nullptr);
    EXPECT_EQ(manager.getRedoCommand(), nullptr);
    EXPECT_THAT(undoable(), IsEmpty());
    EXPECT_THAT(redoable(), IsEmpty());
    EXPECT_EQ(manager.getQueueSize(), 0U);
    EXPECT_EQ(manager.getMaxQueueSize(), 25U);
    EXPECT_FALSE(manager.usesMaxQueueSize());
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(CommandManagerTest, EachManagerHasAThreadManagerOfItsOwnThatItKeeps)
{
    const CommandManager other;

    EXPECT_NE(manager.getThreadManager(), nullptr);
    EXPECT_EQ(manager.getThreadManager(), manager.getThreadManager());
    EXPECT_NE(manager.getThreadManager(), other.getThreadManager());
}

TEST_F(CommandManagerTest, TheQueuesAreListedFromTheNextCommandToTheOldest)
{
    add("A");
    const auto b = add("B");
    const auto c = add("C");
    add("D");

    manager.undo(2);

    EXPECT_EQ(undoable(), (Descriptions{"B", "A"}));
    EXPECT_EQ(redoable(), (Descriptions{"C", "D"}));
    EXPECT_EQ(manager.getUndoCommand(), b);
    EXPECT_EQ(manager.getRedoCommand(), c);
    EXPECT_EQ(manager.getQueueSize(), 4U);
    EXPECT_TRUE(manager.canUndo());
    EXPECT_TRUE(manager.canRedo());
}

TEST_F(CommandManagerTest, TheListsHaveTheOverriddenDescriptions)
{
    class Overridden : public ScriptedCommand
    {
    public:
        const std::string& getDescription() const override
        {
            return shown;
        }

    private:
        std::string shown = "shown";
    };

    manager.addCommand(std::make_shared<Overridden>());
    EXPECT_EQ(undoable(), Descriptions{"shown"});
    manager.undo(1);
    EXPECT_EQ(redoable(), Descriptions{"shown"});
}

TEST_F(CommandManagerTest, ANewCommandForgetsWhatCouldBeRedone)
{
    const auto undoneCommand = addUnheld("A");
    manager.undo(1);

    add("B");

    EXPECT_THAT(redoable(), IsEmpty());
    EXPECT_TRUE(undoneCommand.expired());
}

TEST_F(CommandManagerTest, AFailingCommandForgetsNothing)
{
    add("A");
    manager.undo(1);
    const auto failing = std::make_shared<ScriptedCommand>("B");
    failing->onExecute = []
    {
        throw std::runtime_error("no power");
    };

    EXPECT_FALSE(manager.addCommand(failing));

    EXPECT_EQ(redoable(), Descriptions{"A"});
    EXPECT_EQ(failing.use_count(), 1) << "the manager lets go of it";
}

TEST_F(CommandManagerTest, AnExecutedCommandIsTakenInWithoutExecutingIt)
{
    const auto command = std::make_shared<ScriptedCommand>("A");
    int executions = 0;
    command->onExecute = [&]
    {
        ++executions;
    };

    manager.addExecutedCommand(command);

    EXPECT_EQ(executions, 0);
    EXPECT_EQ(manager.getUndoCommand(), command);
}

TEST_F(CommandManagerTest, ACountBeyondTheQueueMeansAllOfIt)
{
    add("A");
    add("B");
    add("C");
    signals.clear();

    EXPECT_TRUE(manager.undo(5));
    EXPECT_THAT(signals, ElementsAre("undone", "changed 0", "undone", "changed 0", "undone", "changed 0"));
    EXPECT_TRUE(manager.redo(everything));
    EXPECT_EQ(undoable(), (Descriptions{"C", "B", "A"}));
    EXPECT_TRUE(manager.undo(everything));
    EXPECT_EQ(redoable(), (Descriptions{"A", "B", "C"}));
}

TEST_F(CommandManagerTest, ACountOfZeroChangesNothing)
{
    add("A");
    add("B");
    manager.undo(1);
    signals.clear();

    EXPECT_TRUE(manager.undo(0));
    EXPECT_TRUE(manager.redo(0));

    EXPECT_EQ(undoable(), Descriptions{"A"});
    EXPECT_EQ(redoable(), Descriptions{"B"});
    EXPECT_THAT(signals, IsEmpty());
}

TEST_F(CommandManagerTest, ACountStopsInTheMiddle)
{
    for (const char* name : {"A", "B", "C", "D"})
    {
        add(name);
    }

    manager.undo(3);
    EXPECT_EQ(redoable(), (Descriptions{"B", "C", "D"}));
    manager.redo(2);
    EXPECT_EQ(redoable(), Descriptions{"D"});
}

TEST_F(CommandManagerTest, UndoAllAndRedoAllStopAtTheFirstCommandThatFails)
{
    add("A");
    const auto failing = add("B");
    add("C");
    const auto fail = []
    {
        throw std::runtime_error("no power");
    };
    failing->onUndo = fail;

    manager.undoAll();
    EXPECT_EQ(undoable(), (Descriptions{"B", "A"}));
    failing->onUndo = nullptr;
    manager.undoAll();
    EXPECT_THAT(undoable(), IsEmpty());
    failing->onRedo = fail;
    manager.redoAll();
    EXPECT_EQ(redoable(), (Descriptions{"B", "C"}));
    failing->onRedo = nullptr;
    manager.redoAll();
    EXPECT_EQ(undoable(), (Descriptions{"C", "B", "A"}));
}

TEST_F(CommandManagerTest, AHundredThousandCommandsAreUndoneAndRedoneInOrder)
{
    constexpr int count = 100'000;
    int state = 0;
    int outOfOrder = 0;
    for (int i = 0; i < count; ++i)
    {
        const auto command = std::make_shared<ScriptedCommand>();
        command->onExecute = [&, i]
        {
            outOfOrder += state == i ? 0 : 1;
            state = i + 1;
        };
        command->onUndo = [&, i]
        {
            outOfOrder += state == i + 1 ? 0 : 1;
            state = i;
        };
        ASSERT_TRUE(manager.addCommand(command));
    }
    signals.clear();

    manager.undoAll();
    EXPECT_EQ(state, 0);
    EXPECT_THAT(redoable(), SizeIs(count));
    manager.redoAll();
    EXPECT_EQ(state, count);
    EXPECT_THAT(undoable(), SizeIs(count));

    EXPECT_EQ(outOfOrder, 0);
    EXPECT_THAT(signals, SizeIs(4 * count));
}

TEST_F(CommandManagerTest, HoweverManyCommandsThereAreTakingThemHandsOverEveryOne)
{
    for (std::uint64_t number = 1; number <= 100; ++number)
    {
        std::vector<std::shared_ptr<CommandBase>> recorded;
        for (std::uint64_t index = 0; index < number; ++index)
        {
            recorded.push_back(std::make_shared<ScriptedCommand>());
            manager.addExecutedCommand(recorded.back());
        }
        const std::shared_ptr<MacroCommand> taken = manager.takeExecutedCommands();
        EXPECT_THAT(std::list(taken->begin(), taken->end()), ElementsAreArray(recorded));
    }
}

TEST_F(CommandManagerTest, TheSignalsOfTheWorkerSlotAndOfWholeGesturesAreNotEmittedByUndoAndRedo)
{
    add("A");
    manager.undoAll();
    manager.redoAll();
    manager.clear();
    EXPECT_THAT(signals, ElementsAre("changed 3", "executed", "undone", "changed 0", "executed", "changed 1",
                                     "changed 2"));

    signals.clear();
    manager.emitSigUndoRedoProcessCompleted();
    EXPECT_THAT(signals, ElementsAre("completed"));
}

TEST_F(CommandManagerTest, IsProcessingDuringACommandsWorkOnly)
{
    const auto command = std::make_shared<ScriptedCommand>("A");
    std::vector<bool> during;
    command->onExecute = command->onUndo = command->onRedo = [&]
    {
        during.push_back(manager.isProcessingCommand());
    };
    const Signals::Connection slot =
        manager.connectToSigCommandExecuted([&] { during.push_back(manager.isProcessingCommand()); });

    manager.addCommand(command);
    manager.undo(1);
    manager.redo(1);

    EXPECT_THAT(during, ElementsAre(true, false, true, true, false));
}

// Failures and the log.

TEST_F(CommandManagerTest, WhatIsThrownInTheLibraryIsCaughtByItsTypeHere)
{
    const auto movedFrom = std::make_shared<ScriptedCommand>("A");

    class Taker : public CommandBase
    {
    public:
        explicit Taker(CommandBase&& other) : CommandBase(std::move(other)) {}

        void execute() override {}

        void undo() override {}
    };

    const Taker taker(std::move(*movedFrom));

    EXPECT_FALSE(manager.addCommand(movedFrom));
    EXPECT_THAT(signals, ElementsAre(StartsWith("failed : The command was moved from")));
    EXPECT_FALSE(manager.isProcessingCommand());
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(CommandManagerTest, WhatIsNoStandardExceptionPassesThrough)
{
    const auto command = add("A");
    command->onExecute = command->onUndo = []
    {
        throw 42; // NOLINT(hicpp-exception-baseclass)
    };
    signals.clear();

    EXPECT_THROW(manager.addCommand(command), int);
    EXPECT_FALSE(manager.isProcessingCommand());
    EXPECT_THROW(manager.undo(1), int);
    EXPECT_FALSE(manager.isProcessingCommand());

    EXPECT_THAT(signals, IsEmpty());
    EXPECT_THAT(sink->lines(), IsEmpty());
    EXPECT_EQ(undoable(), Descriptions{"A"});
}

TEST_F(CommandManagerTest, NoTraceLineIsWrittenUnlessTheApplicationAsksForThem)
{
    add("A");
    manager.undo(1);
    manager.redo(1);

    EXPECT_THAT(sink->lines(), IsEmpty());
}

TEST_F(CommandManagerTest, EachCommandIsTracedBeforeAndAfter)
{
    logger->set_level(spdlog::level::trace);

    add("turn {} 'on'");
    manager.undo(1);
    manager.redo(1);

    EXPECT_THAT(sink->texts(),
                ElementsAre("Execute command 'turn {} 'on''...", "Command 'turn {} 'on'' executed.",
                            "Execute Undo command 'turn {} 'on''...", "Undo command 'turn {} 'on'' executed.",
                            "Execute Redo command 'turn {} 'on''...",
                            "Redo command 'turn {} 'on'' executed."));
    for (const Testing::LoggedLine& line : sink->lines())
    {
        EXPECT_EQ(line.logger, "Service/CommandPattern/CommandManager");
        EXPECT_EQ(line.level, spdlog::level::trace);
        EXPECT_EQ(line.file, "Service/CommandPattern/CommandManager.cpp");
        EXPECT_THAT(line.function, HasSubstr("CommandManager::"));
        EXPECT_GT(line.line, 0);
    }
}

TEST_F(CommandManagerTest, AFailureWritesOneErrorLine)
{
    add("A")->onUndo = []
    {
        throw std::runtime_error("no power");
    };
    signals.clear();

    EXPECT_FALSE(manager.undo(1));

    ASSERT_THAT(sink->texts(), ElementsAre("Undo of command 'A' failed with exception: no power"));
    EXPECT_EQ(sink->lines()[0].level, spdlog::level::err);
    EXPECT_THAT(sink->lines()[0].function, HasSubstr("CommandManager::Private::logException("));
    EXPECT_THAT(signals, ElementsAre("failed A: no power"));
}

TEST_F(CommandManagerTest, TheErrorLineNamesWhatFailedAndWhereAVdExceptionWasThrown)
{
    const VdException exception("too hot");
    const auto command = add("A");
    command->onExecute = command->onUndo = [&]
    {
        throw VdException(exception);
    };
    signals.clear();

    EXPECT_FALSE(manager.addCommand(command));
    EXPECT_FALSE(manager.undo(1));
    command->onUndo = nullptr;
    EXPECT_TRUE(manager.undo(1));
    EXPECT_FALSE(manager.redo(1));

    const std::string ending =
        " of command 'A' failed with exception: too hot\n    Location: " + exception.getLocation();
    EXPECT_THAT(sink->texts(), ElementsAre("Execution" + ending, "Undo" + ending, "Redo" + ending));
    EXPECT_THAT(exception.getLocation(),
                StartsWith("Tests/Service/CommandPattern/CommandManager/CommandManagerTest.cpp:"));
    EXPECT_THAT(signals, ElementsAre("failed A: too hot", "failed A: too hot", "undone", "changed 0",
                                     "failed A: too hot"));
}

TEST_F(CommandManagerTest, AManagerIsUsableAfterAFailure)
{
    const auto command = add("A");
    command->onUndo = []
    {
        throw std::runtime_error("no power");
    };
    EXPECT_FALSE(manager.undo(1));
    command->onUndo = nullptr;

    EXPECT_TRUE(manager.undo(1));
    EXPECT_TRUE(manager.redo(1));
    add("B");
    EXPECT_EQ(undoable(), (Descriptions{"B", "A"}));
}

// The limit.

using CommandManagerLimit = CommandManagerTest;

TEST_F(CommandManagerLimit, IsNotAppliedUntilItIsSwitchedOn)
{
    manager.setMaxQueueSize(1);
    for (int i = 0; i < 30; ++i)
    {
        add(std::to_string(i));
    }
    manager.setMaxQueueSize(0);
    EXPECT_EQ(manager.getQueueSize(), 30U);

    manager.setMaxQueueSize(2);
    signals.clear();
    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(undoable(), (Descriptions{"29", "28"}));
    EXPECT_THAT(signals, IsEmpty());
}

TEST_F(CommandManagerLimit, OfTheDefaultKeeps25Commands)
{
    manager.setUsesMaxQueueSize(true);
    for (int i = 0; i < 30; ++i)
    {
        add(std::to_string(i));
    }

    EXPECT_EQ(manager.getQueueSize(), 25U);
    EXPECT_EQ(undoable().back(), "5");
}

TEST_F(CommandManagerLimit, DropsTheOldestCommandAsSoonAsOneTooManyIsAdded)
{
    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(2);
    const auto oldest = addUnheld("A");
    add("B");
    EXPECT_FALSE(oldest.expired());

    add("C");

    EXPECT_EQ(undoable(), (Descriptions{"C", "B"}));
    EXPECT_TRUE(oldest.expired());
}

TEST_F(CommandManagerLimit, OfZeroKeepsNothingButTheCommandIsExecutedAndReported)
{
    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(0);
    signals.clear();

    EXPECT_TRUE(manager.addCommand(std::make_shared<ScriptedCommand>("A")));

    EXPECT_THAT(signals, ElementsAre("changed 3", "executed"));
    EXPECT_FALSE(manager.canUndo());
    EXPECT_EQ(manager.getQueueSize(), 0U);
    EXPECT_TRUE(manager.undo(1));
}

TEST_F(CommandManagerLimit, CountsBothQueuesAndDropsFromTheUndoQueue)
{
    for (const char* name : {"A", "B", "C", "D"})
    {
        add(name);
    }
    manager.undo(2);
    signals.clear();
    manager.setUsesMaxQueueSize(true);

    manager.setMaxQueueSize(4);
    EXPECT_EQ(manager.getQueueSize(), 4U);
    manager.setMaxQueueSize(3);
    EXPECT_EQ(undoable(), Descriptions{"B"});
    EXPECT_EQ(redoable(), (Descriptions{"C", "D"}));
    EXPECT_THAT(signals, IsEmpty());
}

TEST_F(CommandManagerLimit, EqualToTheRedoLengthEmptiesTheUndoQueueOnly)
{
    for (const char* name : {"A", "B", "C", "D"})
    {
        add(name);
    }
    manager.undo(2);
    signals.clear();
    manager.setUsesMaxQueueSize(true);

    manager.setMaxQueueSize(2);

    EXPECT_THAT(undoable(), IsEmpty());
    EXPECT_EQ(redoable(), (Descriptions{"C", "D"}));
    EXPECT_THAT(signals, IsEmpty());
    EXPECT_TRUE(manager.redo(2));
    EXPECT_EQ(undoable(), (Descriptions{"D", "C"}));
}

TEST_F(CommandManagerLimit, BelowTheRedoLengthEmptiesBothQueuesInSilence)
{
    for (const char* name : {"A", "B", "C", "D"})
    {
        add(name);
    }
    manager.undo(2);
    signals.clear();
    manager.setUsesMaxQueueSize(true);

    manager.setMaxQueueSize(1);

    EXPECT_EQ(manager.getQueueSize(), 0U);
    EXPECT_FALSE(manager.canUndo());
    EXPECT_FALSE(manager.canRedo());
    EXPECT_THAT(signals, IsEmpty());
}

TEST_F(CommandManagerLimit, SwitchedOnBelowTheRedoLengthEmptiesBothQueuesInSilence)
{
    add("A");
    add("B");
    manager.undo(1);
    manager.setMaxQueueSize(0);
    signals.clear();

    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(manager.getQueueSize(), 0U);
    EXPECT_THAT(signals, IsEmpty());
}

TEST_F(CommandManagerLimit, IsNotAppliedWhenTheValueThatIsThereIsStoredAgain)
{
    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(1);
    add("A");
    addBeyondTheLimit("B");
    ASSERT_EQ(manager.getQueueSize(), 2U);

    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(undoable(), (Descriptions{"B", "A"}));

    manager.setUsesMaxQueueSize(false);
    EXPECT_EQ(undoable(), (Descriptions{"B", "A"}));
    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(undoable(), Descriptions{"B"});
}

TEST_F(CommandManagerLimit, IsNotAppliedByUndoAndRedo)
{
    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(1);
    add("A");
    addBeyondTheLimit("B");
    addBeyondTheLimit("C");

    EXPECT_TRUE(manager.undo(2));
    EXPECT_EQ(undoable(), Descriptions{"A"});
    EXPECT_EQ(redoable(), (Descriptions{"B", "C"}));
    manager.setMaxQueueSize(1);
    EXPECT_EQ(manager.getQueueSize(), 3U);
    EXPECT_TRUE(manager.redo(2));
    EXPECT_EQ(undoable(), (Descriptions{"C", "B", "A"}));

    add("D");
    EXPECT_EQ(undoable(), Descriptions{"D"});
}

TEST_F(CommandManagerLimit, MayBeAsLargeAsItsTypeAllows)
{
    manager.setMaxQueueSize(0);
    add("A");
    add("B");
    manager.undo(1);
    manager.setMaxQueueSize(std::numeric_limits<std::uint32_t>::max());

    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(manager.getMaxQueueSize(), 4'294'967'295U);
    EXPECT_EQ(manager.getQueueSize(), 2U);
    add("C");
    EXPECT_EQ(undoable(), (Descriptions{"C", "A"}));
}

TEST_F(CommandManagerLimit, DoesNotCountWhatCanBeRedoneWhenANewCommandForgetsIt)
{
    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(2);
    add("A");
    add("B");
    manager.undo(1);

    add("C");

    EXPECT_EQ(undoable(), (Descriptions{"C", "A"}));
}

// Progress.

using CommandManagerProgress = CommandManagerTest;

TEST_F(CommandManagerProgress, OfACommandStartsAnewAndIsCompleteAfterItsExecution)
{
    const auto command = std::make_shared<ScriptedCommand>("A");
    command->getProgressPtr()->moveTo(LegacyProgress::FullRange / 2.0);
    double atStart = -1;
    command->onExecute = [&]
    {
        atStart = command->getProgressPtr()->progress();
    };

    manager.addCommand(command);

    EXPECT_EQ(atStart, 0.0);
    EXPECT_EQ(command->getProgressPtr()->fraction(), 1.0);
}

TEST_F(CommandManagerProgress, OfACommandThatFailsStaysWhereItWas)
{
    const auto command = std::make_shared<ScriptedCommand>("A");
    command->onExecute = [&]
    {
        command->getProgressPtr()->moveTo(LegacyProgress::FullRange / 2.0);
        throw std::runtime_error("no power");
    };

    manager.addCommand(command);

    EXPECT_EQ(command->getProgressPtr()->fraction(), 0.5);
}

TEST_F(CommandManagerProgress, OfTheApplicationSeesWhatACommandReportsWhileItIsUndoneAndRedone)
{
    const auto bar = std::make_shared<LegacyProgress>();
    manager.setProgress(bar);
    const auto command = std::make_shared<ScriptedCommand>("A");
    std::vector<double> seen;
    const auto inQuarters = [&]
    {
        seen.push_back(bar->fraction());
        command->getProgressPtr()->reset();
        for (const double quarter : {0.25, 0.5, 0.75})
        {
            command->getProgressPtr()->moveTo(quarter * LegacyProgress::FullRange);
            seen.push_back(bar->fraction());
        }
        command->getProgressPtr()->setComplete();
        seen.push_back(bar->fraction());
    };
    command->onExecute = command->onUndo = command->onRedo = inQuarters;

    manager.addCommand(command);
    EXPECT_THAT(seen, ElementsAre(0, 0, 0, 0, 0)) << "an execution is not hung under the manager's progress";
    seen.clear();
    manager.undo(1);
    EXPECT_THAT(seen, ElementsAre(0, 0.25, 0.5, 0.75, 1));
    seen.clear();
    manager.redo(1);
    EXPECT_THAT(seen, ElementsAre(0, 0.25, 0.5, 0.75, 1)) << "starts anew with each command";
}

TEST_F(CommandManagerProgress, OfACommandIsNeitherResetNorCompletedByUndoAndRedo)
{
    const auto command = add("A");
    const LegacyProgress& progress = *command->getProgressPtr();
    std::vector<double> during;
    command->onUndo = command->onRedo = [&]
    {
        during.push_back(progress.fraction());
    };

    manager.undo(1);
    manager.redo(1);
    EXPECT_THAT(during, ElementsAre(1, 1));

    command->getProgressPtr()->reset();
    manager.undo(1);
    manager.redo(1);
    EXPECT_THAT(during, ElementsAre(1, 1, 0, 0));
    EXPECT_EQ(progress.fraction(), 0.0);
}

TEST_F(CommandManagerProgress, OfTheApplicationIsGivenTheSameManagersProgressEveryTime)
{
    class Receiver : public Progress
    {
    public:
        void addProgress(std::shared_ptr<Progress> child, bool followsReset) override
        {
            children.push_back(std::move(child));
            flags.push_back(followsReset);
        }

        std::vector<std::shared_ptr<Progress>> children;
        std::vector<bool> flags;
    };

    const auto receiver = std::make_shared<Receiver>();
    manager.setProgress(receiver);
    add("A");
    manager.undo(1);
    manager.setProgress(receiver);

    ASSERT_THAT(receiver->children, SizeIs(2));
    EXPECT_NE(dynamic_cast<LegacyProgress*>(receiver->children[0].get()), nullptr);
    EXPECT_EQ(receiver->children[0], receiver->children[1]);
    EXPECT_THAT(receiver->flags, ElementsAre(true, true));
    EXPECT_EQ(receiver.use_count(), 1) << "the manager does not keep it";
}

TEST_F(CommandManagerProgress, AndTheApplicationsMayDieInAnyOrder)
{
    auto bar = std::make_shared<LegacyProgress>();
    manager.setProgress(bar);
    const auto command = add("A");
    command->onUndo = [&]
    {
        bar.reset();
        command->getProgressPtr()->reset();
        command->getProgressPtr()->setComplete();
    };
    EXPECT_TRUE(manager.undo(1));

    const auto longLived = std::make_shared<LegacyProgress>();
    auto shortLived = std::make_unique<CommandManager>();
    shortLived->setProgress(longLived);
    const auto kept = std::make_shared<ScriptedCommand>("kept");
    shortLived->addCommand(kept);
    shortLived->undo(1);
    shortLived.reset();
    kept->getProgressPtr()->reset();
    kept->getProgressPtr()->setComplete();
    EXPECT_EQ(longLived->fraction(), 0.0);
}

// Lifetime.

using CommandManagerLifetime = CommandManagerTest;

TEST_F(CommandManagerLifetime, CommandsThatOnlyTheQueuesHoldDieWithTheManager)
{
    auto other = std::make_unique<CommandManager>();
    const auto held = std::make_shared<ScriptedCommand>("held");
    other->addCommand(held);
    std::weak_ptr<CommandBase> undoneOne;
    std::weak_ptr<CommandBase> executedOne;
    {
        const auto first = std::make_shared<ScriptedCommand>("first");
        const auto second = std::make_shared<ScriptedCommand>("second");
        executedOne = first;
        undoneOne = second;
        other->addCommand(first);
        other->addCommand(second);
    }
    other->undo(1);
    EXPECT_FALSE(executedOne.expired());
    EXPECT_FALSE(undoneOne.expired());

    other.reset();

    EXPECT_TRUE(executedOne.expired());
    EXPECT_TRUE(undoneOne.expired());
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(CommandManagerLifetime, AManagerThatDiesTellsNobody)
{
    auto other = std::make_unique<CommandManager>();
    other->addCommand(std::make_shared<ScriptedCommand>("A"));
    other->addCommand(std::make_shared<ScriptedCommand>("B"));
    other->undo(1);
    int calls = 0;
    const auto call = [&calls](const auto&...)
    {
        ++calls;
    };
    std::vector<Signals::Connection> connections;
    connections.push_back(other->connectToSigCommandExecuted(call));
    connections.push_back(other->connectToSigCommandFailed(call));
    connections.push_back(other->connectToSigCommandQueueChanged(call));
    connections.push_back(other->connectToSigCommandUndone(call));
    connections.push_back(other->connectToSigThreadedCommandFinished(call));
    connections.push_back(other->connectToSigUndoRedoProcessCompleted(call));

    other.reset();

    EXPECT_EQ(calls, 0);
}

TEST_F(CommandManagerLifetime, ACommandThatDiesInClearMayAskAndChangeTheManager)
{
    std::vector<std::uint64_t> sizes;
    for (const char* name : {"A", "B"})
    {
        add(name)->onDestroy = [&]
        {
            sizes.push_back(manager.getQueueSize());
            manager.undo(1);
            manager.setMaxQueueSize(manager.getMaxQueueSize() + 1);
            manager.clear();
        };
    }

    manager.clear();

    EXPECT_THAT(sizes, ElementsAre(0U, 0U));
    EXPECT_EQ(manager.getQueueSize(), 0U);
}

TEST_F(CommandManagerLifetime, ClearingDestroysWhatIsDoneThenWhatIsUndoneThenWhatWaitsToBeMerged)
{
    std::string died;
    const auto make = [&](const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        command->onDestroy = [&died, name]
        {
            died += name;
        };
        return command;
    };
    for (const char* name : {"A", "B", "C", "D"})
    {
        manager.addCommand(make(name));
    }
    manager.undo(2);
    manager.addCommandToMergeWithNextCommand(make("E"), false);

    manager.clear();
    EXPECT_EQ(died, "ABDCE");
}

TEST_F(CommandManagerLifetime, ACommandThatDiesByTheLimitMayAskAndChangeTheManager)
{
    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(3);
    Descriptions seen;
    add("A")->onDestroy = [&]
    {
        seen = undoable();
        manager.setMaxQueueSize(1);
    };
    add("B");
    add("C");

    add("D");

    EXPECT_EQ(seen, (Descriptions{"D", "C", "B"}));
    EXPECT_EQ(undoable(), Descriptions{"D"});
}

TEST_F(CommandManagerLifetime, TheLimitDropsTheOldestCommandFirst)
{
    std::string dropped;
    for (const char* name : {"A", "B", "C"})
    {
        add(name)->onDestroy = [&dropped, name]
        {
            dropped += name;
        };
    }
    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);

    EXPECT_EQ(dropped, "AB");
    manager.clear();
    EXPECT_EQ(dropped, "ABC");
}

TEST_F(CommandManagerLifetime, ACommandThatDiesBecauseItCannotBeRedoneAnyMoreMayAskAndChangeTheManager)
{
    add("A");
    add("B")->onDestroy = [&]
    {
        EXPECT_EQ(manager.getRedoCommand(), nullptr);
        manager.clear();
    };
    manager.undo(1);

    add("C");

    EXPECT_EQ(undoable(), Descriptions{"C"});
    EXPECT_THAT(redoable(), IsEmpty());
}

TEST_F(CommandManagerLifetime, AnUndoneCommandThatIsNotRedoCapableDies)
{
    std::weak_ptr<CommandBase> command;
    {
        const auto made = add("A");
        made->redoCapable = false;
        command = made;
    }

    EXPECT_TRUE(manager.undo(1));

    EXPECT_TRUE(command.expired());
    EXPECT_FALSE(manager.canRedo());
    EXPECT_EQ(manager.getQueueSize(), 0U);
}

TEST_F(CommandManagerLifetime, ACommandThatItsOwnUndoRemovesFromTheQueuesLivesUntilItsEnd)
{
    std::weak_ptr<CommandBase> observed;
    {
        const auto command = add("A");
        observed = command;
        command->onUndo = [&]
        {
            manager.clear();
            EXPECT_FALSE(observed.expired());
            throw std::runtime_error("no power");
        };
    }
    signals.clear();

    EXPECT_FALSE(manager.undo(1));

    EXPECT_THAT(signals, ElementsAre("changed 2", "failed A: no power"));
    EXPECT_TRUE(observed.expired());
}

TEST_F(CommandManagerLifetime, ConnectionsMayOutliveTheManager)
{
    auto other = std::make_unique<CommandManager>();
    std::vector<Signals::Connection> connections;
    connections.push_back(other->connectToSigCommandExecuted([] {}));
    connections.push_back(other->connectToSigCommandFailed([](const char*, const std::string&) {}));
    connections.push_back(other->connectToSigCommandQueueChanged([](CommandManager::QueueChangeReason) {}));
    connections.push_back(other->connectToSigCommandUndone([] {}));
    connections.push_back(other->connectToSigThreadedCommandFinished([] {}));
    connections.push_back(other->connectToSigThreadedCommandStarted([] {}));
    connections.push_back(other->connectToSigUndoRedoProcessCompleted([] {}));
    for (const Signals::Connection& connection : connections)
    {
        EXPECT_TRUE(connection.connected());
    }

    other.reset();

    for (Signals::Connection& connection : connections)
    {
        EXPECT_FALSE(connection.connected());
        connection.disconnect();
    }
}

// Slots.

using CommandManagerSlots = CommandManagerTest;

TEST_F(CommandManagerSlots, AreCalledInTheOrderInWhichTheyWereConnected)
{
    std::string called;
    const Signals::Connection first = manager.connectToSigCommandExecuted([&] { called += "1"; });
    const Signals::Connection second = manager.connectToSigCommandExecuted([&] { called += "2"; });
    const Signals::Connection third = manager.connectToSigCommandExecuted([&] { called += "3"; });

    add("A");

    EXPECT_EQ(called, "123");
}

TEST_F(CommandManagerSlots, OfEverySignalOfTheQueuesAreCalledInThatOrder)
{
    std::string called;
    std::vector<Signals::Connection> connections;
    for (const std::string number : {"1 ", "2 "})
    {
        const auto append = [&called, number](const std::string& signal)
        {
            return [&called, text = signal + number](const auto&...)
            {
                called += text;
            };
        };
        connections.push_back(manager.connectToSigCommandExecuted(append("executed")));
        connections.push_back(manager.connectToSigCommandFailed(append("failed")));
        connections.push_back(manager.connectToSigCommandQueueChanged(append("changed")));
        connections.push_back(manager.connectToSigCommandUndone(append("undone")));
        connections.push_back(manager.connectToSigUndoRedoProcessCompleted(append("completed")));
    }
    const auto command = add("A");
    EXPECT_EQ(called, "changed1 changed2 executed1 executed2 ");
    called.clear();
    manager.undo(1);
    EXPECT_EQ(called, "undone1 undone2 changed1 changed2 ");
    called.clear();
    command->onRedo = []
    {
        throw std::runtime_error("no power");
    };
    manager.redo(1);
    manager.emitSigUndoRedoProcessCompleted();
    EXPECT_EQ(called, "failed1 failed2 completed1 completed2 ");
}

TEST_F(CommandManagerSlots, AreCalledNoMoreOnceTheirConnectionIsGone)
{
    executed.disconnect();
    queueChanged = Signals::Connection();

    add("A");

    EXPECT_THAT(signals, IsEmpty());
}

TEST_F(CommandManagerSlots, MayDestroyTheirListener)
{
    struct Listener
    {
        Signals::Connection connection;
        int calls = 0;
    };

    auto listener = std::make_unique<Listener>();
    int calls = 0;
    listener->connection = manager.connectToSigCommandQueueChanged(
        [&](CommandManager::QueueChangeReason)
        {
            ++calls;
            listener.reset();
        });

    add("A");
    add("B");

    EXPECT_EQ(calls, 1);
}

TEST_F(CommandManagerSlots, MayExecuteAnotherCommand)
{
    Signals::Connection once;
    once = manager.connectToSigCommandExecuted(
        [&]
        {
            once.disconnect();
            add("B");
        });

    add("A");

    EXPECT_EQ(undoable(), (Descriptions{"B", "A"}));
    EXPECT_FALSE(manager.isProcessingCommand());
}

TEST_F(CommandManagerSlots, MayUndoTheCommandOfWhichTheyHear)
{
    const Signals::Connection revoke = manager.connectToSigCommandExecuted([&] { manager.undo(1); });

    add("A");

    EXPECT_THAT(undoable(), IsEmpty());
    EXPECT_EQ(redoable(), Descriptions{"A"});
}

TEST_F(CommandManagerSlots, MayRedoTheCommandOfWhichTheyHear)
{
    add("A");
    add("B");
    Signals::Connection once;
    once = manager.connectToSigCommandUndone(
        [&]
        {
            once.disconnect();
            manager.redo(1);
        });
    signals.clear();

    EXPECT_TRUE(manager.undo(2));

    EXPECT_THAT(signals, ElementsAre("undone", "executed", "changed 1", "changed 0", "undone", "changed 0"));
    EXPECT_EQ(undoable(), Descriptions{"A"});
    EXPECT_EQ(redoable(), Descriptions{"B"});
}

TEST_F(CommandManagerSlots, MayClearTheQueuesInTheMiddleOfAnUndo)
{
    add("A");
    add("B");
    add("C");
    const Signals::Connection clearing = manager.connectToSigCommandUndone([&] { manager.clear(); });

    EXPECT_TRUE(manager.undo(3));

    EXPECT_EQ(manager.getQueueSize(), 0U);
}

TEST_F(CommandManagerSlots, MayChangeTheLimitInTheMiddleOfAnUndoAndARedo)
{
    for (const char* name : {"A", "B", "C", "D"})
    {
        add(name);
    }
    manager.setUsesMaxQueueSize(true);
    Signals::Connection shrinking = manager.connectToSigCommandUndone([&] { manager.setMaxQueueSize(2); });

    EXPECT_TRUE(manager.undo(3));
    EXPECT_THAT(undoable(), IsEmpty());
    EXPECT_EQ(redoable(), (Descriptions{"C", "D"}));

    shrinking = manager.connectToSigCommandExecuted([&] { manager.setMaxQueueSize(1); });
    EXPECT_TRUE(manager.redo(2));
    EXPECT_EQ(undoable(), Descriptions{"D"});
    EXPECT_THAT(redoable(), IsEmpty());
}

TEST_F(CommandManagerSlots, ThatHearOfAFailureMayRemoveTheCommandThatFailed)
{
    add("A")->onUndo = []
    {
        throw std::runtime_error("no power");
    };
    std::string heard;
    const Signals::Connection clearing = manager.connectToSigCommandFailed(
        [&](const char* what, const std::string& description)
        {
            manager.clear();
            heard = description + ": " + what;
        });

    EXPECT_FALSE(manager.undo(1));

    EXPECT_EQ(heard, "A: no power");
    EXPECT_EQ(manager.getQueueSize(), 0U);
}

} // namespace
} // namespace Valdane
