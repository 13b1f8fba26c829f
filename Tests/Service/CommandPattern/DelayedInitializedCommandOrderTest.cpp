#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/RecordingCommand.h"
#include "Tests/Support/ThreadJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace Valdane
{
namespace
{

using testing::Contains;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;
using ValdaneTests::ElementsAre;

class SpeechlessCommand : public RecordingCommand
{
public:
    SpeechlessCommand() : RecordingCommand("S") {}

    const std::string& getDescription() const override
    {
        throw std::runtime_error("no words");
    }
};

class DelayedInitializedCommandOrder : public ThreadJournal
{
protected:
    DelayedInitializedCommandOrder()
    {
        command->getProgressPtr()->label = "D.progress";
    }

    /// The prefix of the journal while the command is in the slot under its first description.
    const std::string unnamed = "*DelayedInitializedCommand ";

    /// What the factory makes.
    std::shared_ptr<CommandBase> made = std::make_shared<RecordingCommand>("X");
    std::function<void()> onFactory;
    std::shared_ptr<DelayedInitializedCommand> command = std::make_shared<DelayedInitializedCommand>(
        [this]
        {
            note("factory");
            if (onFactory)
            {
                onFactory();
            }
            return made;
        });
};

TEST_F(DelayedInitializedCommandOrder, TheCommandIsMadeWhenTheRunStartsAndIsThenItsOnlySubCommand)
{
    Logging::traceEnabled = true;
    EXPECT_EQ(command->getDescription(), "DelayedInitializedCommand");
    EXPECT_TRUE(command->empty());
    EXPECT_FALSE(command->continueOnException());

    manager.addThreadedCommand(command);

    EXPECT_THAT(takeSteps(),
                ElementsAre(unnamed + "factory", "*X D.progress.reset", "*X trace: Execute subcommand: X",
                            "*X X.execute", "*X trace: Subcommand:X 'executed.'", "*X D.progress.setComplete",
                            "*X started [|]", "*X modules.modified", "*X modules.mark",
                            "*X queueChanged 3 [X|]", " - executed [X|]", " - finished [X|]"));
    EXPECT_EQ(command->getFirstCommand(), made);
    EXPECT_EQ(command->size(), 1U);
    EXPECT_EQ(command->CommandBase::getDescription(), "X") << "whatever it says from now on";
}

TEST_F(DelayedInitializedCommandOrder, AThreadThatIsMadeRunsOnTheWorker)
{
    made = makeThread("A");
    manager.addThreadedCommand(command);
    EXPECT_THAT(takeSteps(), ElementsAre(unnamed + "factory", "*A D.progress.reset",
                                         "*A threads.addThread(A)", "*A started [|]"));
    manager.finalizeThread();
    EXPECT_EQ(takeSteps().back(), " - finished [A|]");
    EXPECT_TRUE(manager.undo(1));
    EXPECT_TRUE(manager.redo(1));
    EXPECT_THAT(takeSteps(), Not(Contains(HasSubstr("factory"))));
}

TEST_F(DelayedInitializedCommandOrder, AfterASuccessTheFactoryIsForgotten)
{
    const auto held = std::make_shared<int>();
    const std::weak_ptr<int> capture = held;
    const auto once = std::make_shared<DelayedInitializedCommand>(
        [held]() -> std::shared_ptr<CommandBase>
        {
            note("factory");
            return std::make_shared<RecordingCommand>("X");
        });
    EXPECT_EQ(capture.use_count(), 2);
    EXPECT_TRUE(once->startExecution(threads));
    EXPECT_EQ(capture.use_count(), 1);
    takeJournal();
    EXPECT_TRUE(once->startExecution(threads));
    EXPECT_THAT(takeJournal(), Not(Contains(HasSubstr("factory"))));
    EXPECT_EQ(once->size(), 1U);
}

TEST_F(DelayedInitializedCommandOrder, TheCommandIsTakenInBeforeTheFactoryDies)
{
    std::shared_ptr<DelayedInitializedCommand> delayed;
    unsigned long long sizeThen = 0;
    std::shared_ptr<void> watch(nullptr, [&](void*) { sizeThen = delayed->size(); });
    delayed = std::make_shared<DelayedInitializedCommand>([this, watch] { return made; });
    watch.reset();
    manager.addThreadedCommand(delayed);
    EXPECT_EQ(sizeThen, 1U);
}

TEST_F(DelayedInitializedCommandOrder, AnEmptyPointerEndsTheRunAtOnceAndTheFactoryIsKept)
{
    made = nullptr;
    noteEndOf(command);
    EXPECT_TRUE(command->startExecution(threads));
    EXPECT_THAT(takeJournal(), ElementsAre(" - factory", " - runFinished(true, DelayedInitializedCommand)",
                                           " - D.progress.setComplete"));
    EXPECT_EQ(command->getDescription(), "DelayedInitializedCommand");

    made = std::make_shared<RecordingCommand>("X");
    EXPECT_TRUE(command->startExecution(threads));
    EXPECT_THAT(takeJournal(), Contains(" - X.execute"));
    EXPECT_EQ(command->getDescription(), "X");
}

TEST_F(DelayedInitializedCommandOrder, WithoutAFactoryTheRunEndsAtOnce)
{
    const auto bare = std::make_shared<DelayedInitializedCommand>(nullptr);
    noteEndOf(bare);
    manager.addThreadedCommand(bare);
    EXPECT_THAT(takeSteps(), Contains(unnamed + "runFinished(true, DelayedInitializedCommand)"));
    EXPECT_EQ(queues(), "[DelayedInitializedCommand|]");
}

TEST_F(DelayedInitializedCommandOrder, OnlyTheExactDefaultDescriptionIsReplacedAndOnlyByAText)
{
    for (const std::string own :
         {"own", "", "DelayedInitializedCommand ", "delayedInitializedCommand", "DelayedInitializedComman"})
    {
        DelayedInitializedCommand delayed([] { return std::make_shared<RecordingCommand>("X"); });
        delayed.setDescription(own);
        delayed.startExecution(threads);
        EXPECT_EQ(delayed.CommandBase::getDescription(), own);
    }
    DelayedInitializedCommand delayed([] { return std::make_shared<RecordingCommand>(""); });
    delayed.startExecution(threads);
    EXPECT_EQ(delayed.CommandBase::getDescription(), "DelayedInitializedCommand");
    EXPECT_EQ(delayed.size(), 1U);
}

TEST_F(DelayedInitializedCommandOrder, ItIsNotDescribedByACommandForWhichThereIsNoMemory)
{
    int notTakenIn = 0;
    bool hasFailed = true;
    for (std::size_t successes = 0; hasFailed; ++successes)
    {
        DelayedInitializedCommand delayed([this] { return made; });
        const FailingAllocation failure(successes);
        try
        {
            delayed.startExecution(threads);
        }
        catch (const std::bad_alloc&)
        {
        }
        hasFailed = failure.hasFailed();
        if (delayed.empty())
        {
            ++notTakenIn;
            EXPECT_EQ(delayed.CommandBase::getDescription(), "DelayedInitializedCommand") << successes;
        }
    }
    EXPECT_GT(notTakenIn, 0);
}

TEST_F(DelayedInitializedCommandOrder, ExecuteCallsTheFactoryAfterTheFirstLayout)
{
    command->execute();
    EXPECT_THAT(takeJournal(), ElementsAre(" - D.progress.reset", " - D.progress.progress", " - factory",
                                           " - Speed.add(3)", " - D.progress.reset", " - D.progress.progress",
                                           " - Speed.getPartitionFromRate(3)",
                                           " - D.progress.appendSubProgress(X.progress, 0, 30)",
                                           " - X.execute", " - D.progress.setComplete"));
}

TEST_F(DelayedInitializedCommandOrder, AFactoryThatThrowsFailsTheStartAndIsKept)
{
    for (const int mode : {1, 0})
    {
        threads->mode = mode;
        onFactory = fail;
        noteEndOf(command);

        manager.addThreadedCommand(command);

        Lines expected = {unnamed + "factory", unnamed + "runFinished(false, DelayedInitializedCommand)",
                          unnamed + "D.progress.setComplete",
                          " - error: Threaded execution of command 'DelayedInitializedCommand' failed with "
                          "exception: no power",
                          " - failed(no power, DelayedInitializedCommand) [|]"};
        if (mode != 0)
        {
            expected.emplace_back(" - finished [|]");
        }
        EXPECT_THAT(takeSteps(), ElementsAreArray(expected));
        EXPECT_FALSE(manager.isProcessingCommand());
        EXPECT_EQ(manager.getCurrentThreadedCommand(), nullptr);
        EXPECT_TRUE(command->empty());
    }
    onFactory = nullptr;
    manager.addThreadedCommand(command);
    EXPECT_EQ(queues(), "[X|]");
}

TEST_F(DelayedInitializedCommandOrder, ACommandThatCannotTellItsDescriptionIsNotTakenInAndTheFactoryIsKept)
{
    made = std::make_shared<SpeechlessCommand>();
    manager.addThreadedCommand(command);
    EXPECT_TRUE(command->empty());

    made = std::make_shared<RecordingCommand>("X");
    manager.addThreadedCommand(command);
    EXPECT_EQ(command->size(), 1U);
    EXPECT_EQ(queues(), "[X|]");
}

TEST_F(DelayedInitializedCommandOrder, AFactoryThatThrowsStrangelyPassesThrough)
{
    onFactory = failStrangely;
    EXPECT_THROW(manager.addThreadedCommand(command), Stranger);
    EXPECT_FALSE(manager.isProcessingCommand());
    EXPECT_EQ(manager.getCurrentThreadedCommand(), nullptr);
}

TEST_F(DelayedInitializedCommandOrder, AFactoryThatFailsUndoesNothingThoughThereAreSubCommands)
{
    command->addCommand(std::make_shared<RecordingCommand>("W"));
    onFactory = fail;
    manager.addThreadedCommand(command);
    EXPECT_THAT(takeSteps(), Not(Contains(HasSubstr("W.undo"))));
}

TEST_F(DelayedInitializedCommandOrder, AFailureOfTheCommandThatWasMadeIsReportedUnderItsDescription)
{
    auto failing = std::make_shared<RecordingCommand>("X");
    failing->onExecute = fail;
    made = failing;
    manager.addThreadedCommand(command);
    const Lines steps = takeSteps();
    EXPECT_THAT(steps,
                Contains(" - error: Threaded execution of command 'X' failed with exception: no power"));

    failing->onExecute = nullptr;
    manager.addThreadedCommand(command);
    EXPECT_THAT(takeSteps(), Not(Contains(HasSubstr("factory"))));
    EXPECT_EQ(queues(), "[X|]");
}

TEST_F(DelayedInitializedCommandOrder, AsPartOfAMacroItIsSteppedLikeANestedOne)
{
    made = makeThread("A");
    const auto outer = std::make_shared<OpenMacro>("M");
    outer->addCommand(command);
    outer->addCommand(std::make_shared<RecordingCommand>("Y"));
    manager.addThreadedCommand(outer);
    EXPECT_THAT(takeSteps(), ElementsAre("*M M.progress.reset", "*M factory", "*M D.progress.reset",
                                         "*M threads.addThread(A)", "*M started [|]"));
    manager.finalizeThread();
    EXPECT_THAT(takeSteps(), Contains("*M Y.execute"));
    EXPECT_EQ(queues(), "[M|]");
}

} // namespace
} // namespace Valdane
