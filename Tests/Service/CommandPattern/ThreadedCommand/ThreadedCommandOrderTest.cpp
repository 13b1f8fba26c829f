#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ThreadJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

static_assert(std::is_base_of_v<CommandBase, ThreadedCommand>);
static_assert(std::is_base_of_v<Thread, ThreadedCommand>);
static_assert(std::is_abstract_v<ThreadedCommand>);
static_assert(!std::is_copy_constructible_v<ThreadedCommand>);
static_assert(std::is_constructible_v<RecordingThread, const std::string&>);

class ThreadedCommandOrder : public ThreadJournal
{
protected:
    std::shared_ptr<RecordingThread> a = makeThread("A");
};

TEST_F(ThreadedCommandOrder, ExecuteRunsTheThreeStepsAndSendsNoFinishSignal)
{
    noteEndOf(a);
    a->execute();
    EXPECT_THAT(takeJournal(), ElementsAre(" - A.prepareRun", " - A.run", " - A.finishRun"));
    a->redo();
    EXPECT_THAT(takeJournal(), ElementsAre(" - A.prepareRun", " - A.run", " - A.finishRun"));
}

TEST_F(ThreadedCommandOrder, ExecuteLetsOutWhatAStepThrowsAndLeavesTheOthersOut)
{
    a->on["prepareRun"] = fail;
    EXPECT_THROW(a->execute(), std::runtime_error);
    EXPECT_THAT(takeJournal(), ElementsAre(" - A.prepareRun"));
    a->on = {{"run", failStrangely}};
    EXPECT_THROW(a->execute(), Stranger);
    EXPECT_THAT(takeJournal(), ElementsAre(" - A.prepareRun", " - A.run"));
}

TEST_F(ThreadedCommandOrder, AsAnOrdinaryCommandItRunsLikeOne)
{
    noteEndOf(a);
    EXPECT_TRUE(manager.addCommand(a));
    EXPECT_THAT(takeJournal(),
                ElementsAre("*- A.progress.reset", "*- A.prepareRun", "*- A.run", "*- A.finishRun",
                            "*- A.progress.setComplete", " - modules.modified", " - modules.mark",
                            " - queueChanged 3 [A|]", " - executed [A|]"));
}

TEST_F(ThreadedCommandOrder, TheDescriptionIsTheNameOfTheThread)
{
    EXPECT_EQ(a->getDescription(), "A");
    EXPECT_EQ(a->label, "A");
    a->setDescription("renamed");
    EXPECT_EQ(a->label, "A");

    class Nameless : public RecordingThread
    {
    public:
        Nameless() : RecordingThread("") {}
    };

    EXPECT_EQ(Nameless().label, "");
}

TEST_F(ThreadedCommandOrder, WithoutADescriptionTheThreadHasNoName)
{
    class Bare : public ThreadedCommand
    {
    public:
        void run() override {}

        void finishRun() override {}

        void undo() override {}
    };

    const Bare bare;
    EXPECT_EQ(bare.getDescription(), "");
    EXPECT_EQ(bare.label, "");
    EXPECT_TRUE(bare.isAddableToCommandManager());
}

TEST_F(ThreadedCommandOrder, TheFinishSignalIsSentToTheThreadEachTimeAndToTheSlotsOnce)
{
    noteEndOf(a);
    noteEndOf(a);
    a->sendFinishSignal(false);
    a->sendFinishSignal(true);
    EXPECT_THAT(takeJournal(), ElementsAre(" - thread A.sendFinishSignal(false)", " - runFinished(false, A)",
                                           " - runFinished(false, A)", " - thread A.sendFinishSignal(true)"));
}

TEST_F(ThreadedCommandOrder, TheSlotIsToldOfTheCommandItself)
{
    const CommandBase* told = nullptr;
    a->connectToRunFinishedSignal([&](bool, const CommandBase* ended) { told = ended; });
    a->sendFinishSignal(true);
    EXPECT_EQ(told, a.get());
}

TEST_F(ThreadedCommandOrder, ASlotMayConnectForTheNextRunOrSendTheSignalAgain)
{
    noteEndOf(a, [this] { noteEndOf(a); });
    a->sendFinishSignal(true);
    takeJournal();
    a->sendFinishSignal(false);
    EXPECT_THAT(takeJournal(),
                ElementsAre(" - thread A.sendFinishSignal(false)", " - runFinished(false, A)"));

    noteEndOf(a, [this] { a->sendFinishSignal(false); });
    a->sendFinishSignal(true);
    EXPECT_THAT(takeJournal(), ElementsAre(" - thread A.sendFinishSignal(true)", " - runFinished(true, A)",
                                           " - thread A.sendFinishSignal(false)"));
}

TEST_F(ThreadedCommandOrder, ASlotThatThrowsIsToldOnceAndThoseBehindItAreForgotten)
{
    noteEndOf(a, fail);
    noteEndOf(a);
    EXPECT_THROW(a->sendFinishSignal(true), std::runtime_error);
    takeJournal();
    a->sendFinishSignal(true);
    EXPECT_THAT(takeJournal(), ElementsAre(" - thread A.sendFinishSignal(true)"));
}

TEST_F(ThreadedCommandOrder, ASlotMayDropTheLastReferenceToAnOtherwiseUnheldCommand)
{
    // The caller holds it up to the end of the emission, as the thread manager does.
    const std::weak_ptr<RecordingThread> watch = a;
    a->connectToRunFinishedSignal([this](bool, const CommandBase*) { a.reset(); });
    {
        const std::shared_ptr<RecordingThread> held = a;
        held->sendFinishSignal(true);
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

TEST_F(ThreadedCommandOrder, DyingUnfinishedTellsNobody)
{
    noteEndOf(a);
    a.reset();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

} // namespace
} // namespace Valdane
