// Whether something is left of a run that has failed.

#include "Tests/Service/Editing/ThreadedRun/ThreadedRunFixture.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

void failWith(const std::string& text)
{
    throw std::runtime_error(text);
}

/// Is done when it cannot answer whether it is for the history.
class WithoutAnswer : public Work
{
public:
    using Work::Work;

    bool isAddableToCommandManager() const override
    {
        throw std::runtime_error("no answer");
    }
};

/// An ordinary command that fails before it has changed anything.
class Refusal : public CommandBase
{
public:
    Refusal() : CommandBase("refusal") {}

    void execute() override
    {
        throw std::runtime_error("refused");
    }

    void undo() override {}
};

class FailedRunTest : public ThreadedRunTest
{
protected:
    std::shared_ptr<Work> failingWork(const std::string& name)
    {
        auto made = work(name);
        made->onRun = []
        {
            failWith("no data");
        };
        return made;
    }

    /// An edit whose first undo() fails.
    std::shared_ptr<Edit> stuckEdit(const std::string& name)
    {
        auto made = edit(name);
        made->onUndo = [&stuck = *made]
        {
            std::exchange(stuck.onUndo, nullptr);
            failWith("stuck");
        };
        return made;
    }

    template <typename Command>
    void play(const std::shared_ptr<Command>& command)
    {
        run->start(command);
        drive();
    }
};

TEST_F(FailedRunTest, OfACommandThatIsDoneLeavesItsWork)
{
    play(std::make_shared<WithoutAnswer>(model, "A"));
    EXPECT_THAT(notes, ElementsAre("started", "not taken back: no answer"));
    EXPECT_THAT(model.done, ElementsAre("A"));
    EXPECT_EQ(history(), "|");
}

TEST_F(FailedRunTest, OfACommandThatTakesBackWhatItHandsOverLeavesNothing)
{
    const auto command = work("A");
    command->onFinish = [&]
    {
        command->onFinish = nullptr;
        failWith("full");
    };
    play(command);
    EXPECT_THAT(notes, ElementsAre("started", "failed: full"));
    expectNothingChanged();
}

TEST_F(FailedRunTest, OfAMacroIsRolledBack)
{
    play(macro("M", {edit("a"), work("B"), failingWork("C")}));
    play(macro("M", {edit("a"), work("B"), std::make_shared<Refusal>()}));
    play(macro("M", {edit("a"), std::make_shared<Refusal>()}));
    EXPECT_THAT(notes, ElementsAre("started", "failed: no data", "started", "failed: refused", "started",
                                   "failed: refused"));
    expectNothingChanged();
}

TEST_F(FailedRunTest, OfAMacroInSynchronousModeIsRolledBack)
{
    threads->setThreadingMode(0);
    play(macro("M", {edit("a"), macro("N", {edit("b"), failingWork("C")})}));
    EXPECT_THAT(notes, ElementsAre("started", "failed: no data"));
    expectNothingChanged();
}

TEST_F(FailedRunTest, WithTooManyFailuresIsRolledBack)
{
    const auto whole = macro("M", {edit("a"), failingWork("B"), work("C"), failingWork("D")});
    for (const auto& part : *whole)
    {
        if (auto* const thread = dynamic_cast<Work*>(part.get()))
        {
            // Fails, and is undone all the same.
            thread->onUndo = [this, name = thread->getDescription()]
            {
                if (name == "C")
                {
                    model.remove(name);
                }
            };
        }
    }
    whole->setContinueOnException(true);
    whole->setFailCountToThrow(2);
    play(whole);
    EXPECT_THAT(notes, ElementsAre("started", "failed")) << "the reasons are in the log";
    expectNothingChanged();
    whole->setFailCountToThrow(3);
    notes.clear();
    play(whole);
    EXPECT_THAT(notes, ElementsAre("started", "done"));
    EXPECT_THAT(model.done, ElementsAre("a", "C"));
}

TEST_F(FailedRunTest, OfANestedMacroLeavesWhatThatHasDone)
{
    play(macro("M", {macro("N", {edit("a"), failingWork("B")}), edit("c")}));
    EXPECT_THAT(notes, ElementsAre("started", "not taken back: no data"));
    EXPECT_THAT(model.done, ElementsAre("a"));
    EXPECT_EQ(history(), "|");
}

TEST_F(FailedRunTest, BehindANestedMacroIsRolledBack)
{
    play(macro("M", {macro("N", {edit("a"), work("B")}), std::make_shared<Refusal>()}));
    EXPECT_THAT(notes, ElementsAre("started", "failed: refused"));
    expectNothingChanged();
}

TEST_F(FailedRunTest, WhoseRollBackFailsLeavesSomething)
{
    play(macro("M", {stuckEdit("a"), failingWork("B")}));
    EXPECT_THAT(notes, ElementsAre("started", "not taken back: no data"));
    EXPECT_THAT(model.done, ElementsAre("a"));
}

TEST_F(FailedRunTest, WhoseUndoFailsAfterAnAbortLeavesSomething)
{
    const auto held = heldWork("B");
    run->start(macro("M", {stuckEdit("a"), held}));
    held->waitUntilHeld();
    run->abort();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "not taken back: stuck"));
    EXPECT_THAT(model.done, ElementsAre("a"));
}

TEST_F(FailedRunTest, ThatWasAbortedTooLateAndCannotBeUndoneStaysInTheHistory)
{
    const auto queued = manager->connectToSigCommandExecuted([this] { run->abort(); });
    const auto command = work("A");
    command->onUndo = []
    {
        failWith("stuck");
    };
    play(command);
    EXPECT_THAT(notes, ElementsAre("started", "not taken back: stuck"));
    EXPECT_EQ(history(), "A |");
}

TEST_F(FailedRunTest, ByAStrangerIsNotRolledBackIfItIsAMacro)
{
    const auto strange = work("B");
    strange->onRun = []
    {
        throw Stranger();
    };
    run->start(macro("M", {edit("a"), strange}));
    EXPECT_THROW(drive(), Stranger);
    EXPECT_EQ(notes.back(), "not taken back: an exception that is not derived from std::exception");
    EXPECT_THAT(model.done, ElementsAre("a"));
}

TEST_F(FailedRunTest, ThatWasNotStartedLeavesNothing)
{
    onStarted = []
    {
        failWith("slot");
    };
    EXPECT_THROW(run->start(macro("M", {edit("a"), work("B")})), std::runtime_error);
    EXPECT_THAT(notes, ElementsAre("started", "failed: slot"));
    expectNothingChanged();
}

} // namespace
} // namespace Valdane
