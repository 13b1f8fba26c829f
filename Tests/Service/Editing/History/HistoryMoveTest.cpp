#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Tests/Service/Editing/History/HistoryFixture.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/ScriptedRun.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;
using MoveResult = History::MoveResult;

class HistoryMoveTest : public HistoryTest
{
protected:
    HistoryMoveTest()
    {
        addAll("abcd");
    }

    /// How the moves ended that were told while @p action ran.
    Journal movesDuring(const std::function<void()>& action)
    {
        Journal moves;
        const auto connection =
            history->connectToSigMoved([&](MoveResult result) { moves.push_back(nameOf(result)); });
        action();
        return moves;
    }

    void expectMove(std::uint64_t position, MoveResult result)
    {
        EXPECT_EQ(nameOf(history->moveTo(position)), nameOf(result));
    }
};

TEST_F(HistoryMoveTest, TellsOnceWhenItHasEnded)
{
    EXPECT_THAT(
        toldBy([&] { expectMove(1, MoveResult::Reached); }),
        ElementsAre("changed 2 2", "whole", "changed 1 2", "whole", "changed 0 2", "whole", "reached"));
    EXPECT_THAT(toldBy([&] { expectMove(3, MoveResult::Reached); }),
                ElementsAre("changed 0 2", "whole", "changed 1 2", "whole", "reached"));
    EXPECT_THAT(looks(), ElementsAre("a+", "b+", "c*", "d"));
}

TEST_F(HistoryMoveTest, GoesFromEndToEnd)
{
    expectMove(0, MoveResult::Reached);
    EXPECT_THAT(looks(), ElementsAre("a", "b", "c", "d"));
    expectMove(4, MoveResult::Reached);
    EXPECT_THAT(looks(), ElementsAre("a+", "b+", "c+", "d*"));
}

TEST_F(HistoryMoveTest, ToWhereItIsItTellsNothing)
{
    EXPECT_THAT(toldBy([&] { expectMove(4, MoveResult::Reached); }), IsEmpty());
}

TEST_F(HistoryMoveTest, APositionPastTheEndIsAnError)
{
    EXPECT_THAT(toldBy(
                    [&]
                    {
                        EXPECT_EQ(messageOf([&] { history->moveTo(5); }),
                                  "The history cannot move to position 5, because its last position is 4");
                    }),
                IsEmpty());
    EXPECT_EQ(manager.getPosition(), 4U);
}

TEST_F(HistoryMoveTest, IsMovingUntilItTellsThatItHasMoved)
{
    Journal journal;
    const auto note = [&](const std::string& text)
    {
        journal.push_back(text + (history->isMoving() ? " moving" : ""));
    };
    const auto changed = history->connectToSigChanged([&] { note("changed"); });
    const auto moved = history->connectToSigMoved([&](MoveResult) { note("moved"); });
    history->moveTo(3);
    EXPECT_THAT(journal, ElementsAre("changed moving", "moved"));
}

TEST_F(HistoryMoveTest, StopsAtACommandThatFails)
{
    manager.clear();
    addAll("a");
    add("b")->onUndo = fail;
    addAll("cd");
    EXPECT_THAT(movesDuring([&] { expectMove(0, MoveResult::CommandFailed); }),
                ElementsAre("command failed"));
    EXPECT_EQ(manager.getPosition(), 2U);
    EXPECT_THAT(movesDuring([&] { expectMove(0, MoveResult::CommandFailed); }), IsEmpty())
        << "nothing has moved";
}

TEST_F(HistoryMoveTest, StopsAtACommandThatCannotBeRedone)
{
    add("e")->onRedo = fail;
    history->moveTo(2);
    EXPECT_THAT(movesDuring([&] { expectMove(5, MoveResult::CommandFailed); }),
                ElementsAre("command failed"));
    EXPECT_EQ(manager.getPosition(), 4U);
}

TEST_F(HistoryMoveTest, PassesACommandThatLeavesWhenItIsUndone)
{
    add("e")->redoCapable = false;
    expectMove(1, MoveResult::Reached);
    EXPECT_THAT(looks(), ElementsAre("a*", "b", "c", "d"));
}

TEST_F(HistoryMoveTest, DoesNothingWhileAGroupIsOpen)
{
    manager.beginGroup("G");
    EXPECT_THAT(toldBy([&] { expectMove(1, MoveResult::GroupOpen); }), IsEmpty());
    expectMove(4, MoveResult::Reached);
    manager.endGroup();
    expectMove(1, MoveResult::Reached);
}

TEST_F(HistoryMoveTest, StopsWhenAStepOpensAGroup)
{
    const auto connection = manager.connectToSigCommandUndone([&] { manager.beginGroup("G"); });
    EXPECT_THAT(movesDuring([&] { expectMove(1, MoveResult::GroupOpen); }), ElementsAre("group open"));
    EXPECT_EQ(manager.getPosition(), 3U);
    manager.endGroup();
    EXPECT_THAT(movesDuring([&] { expectMove(2, MoveResult::Reached); }), ElementsAre("reached"))
        << "the group is opened by the last step";
}

TEST_F(HistoryMoveTest, DoesNothingWhileAThreadedCommandIsRunning)
{
    manager.getThreadManager()->setThreadingMode(0);
    const auto run = std::make_shared<ScriptedRun>("Fit");
    run->onRun = [&]
    {
        EXPECT_THAT(toldBy([&] { expectMove(1, MoveResult::RunNotEnded); }), IsEmpty());
        expectMove(4, MoveResult::Reached);
    };
    manager.addThreadedCommand(run);
    expectMove(1, MoveResult::Reached);
}

TEST_F(HistoryMoveTest, AMoveOfASlotTakesOver)
{
    bool isFirst = true;
    const auto connection = manager.connectToSigCommandUndone(
        [&]
        {
            if (std::exchange(isFirst, false))
            {
                expectMove(4, MoveResult::Reached);
            }
        });
    EXPECT_THAT(movesDuring([&] { expectMove(0, MoveResult::Interrupted); }),
                ElementsAre("reached", "interrupted"));
    EXPECT_EQ(manager.getPosition(), 4U);
    EXPECT_FALSE(history->isMoving());
}

TEST_F(HistoryMoveTest, ASlotThatAlwaysChangesTheHistoryEndsIt)
{
    const auto connection = manager.connectToSigCommandUndone([&] { add("again"); });
    expectMove(0, MoveResult::Interrupted);
    EXPECT_THAT(looks(), ElementsAre("a+", "b+", "c+", "again*"));
}

TEST_F(HistoryMoveTest, ASlotMayClearTheManager)
{
    {
        const auto connection = history->connectToSigChanged([&] { manager.clear(); });
        expectMove(1, MoveResult::Interrupted);
    }
    EXPECT_THAT(looks(), IsEmpty());
    addAll("ab");
    history->moveTo(0);
    {
        const auto connection = manager.connectToSigCommandExecuted([&] { manager.forgetRedoCommands(); });
        expectMove(2, MoveResult::Interrupted);
    }
    EXPECT_THAT(looks(), ElementsAre("a*"));
}

TEST_F(HistoryMoveTest, ACommandMayChangeTheHistory)
{
    add("e")->onUndo = [&]
    {
        manager.clear();
    };
    expectMove(2, MoveResult::Interrupted);
    EXPECT_EQ(looks(), looksOf(manager));
}

TEST_F(HistoryMoveTest, TellsEvenIfAnExceptionPasses)
{
    manager.clear();
    add("a")->onUndo = failStrangely;
    addAll("bc");
    EXPECT_THAT(movesDuring([&] { EXPECT_THROW(history->moveTo(0), Stranger); }), ElementsAre("interrupted"));
    EXPECT_EQ(manager.getPosition(), 1U);
    EXPECT_FALSE(history->isMoving());
    EXPECT_THAT(movesDuring([&] { EXPECT_THROW(history->moveTo(0), Stranger); }), IsEmpty());

    const auto connection = manager.connectToSigCommandExecuted(fail);
    EXPECT_THAT(movesDuring([&] { EXPECT_THROW(history->moveTo(3), std::runtime_error); }),
                ElementsAre("interrupted"));
    EXPECT_EQ(manager.getPosition(), 2U) << "the slot has thrown after the step";
}

TEST_F(HistoryMoveTest, TheExceptionOfTheMovePassesOnBeforeThatOfItsListeners)
{
    const auto undone = manager.connectToSigCommandUndone(failStrangely);
    const auto moved = history->connectToSigMoved([](MoveResult) { fail(); });
    EXPECT_THROW(history->moveTo(0), Stranger);
    EXPECT_THROW(history->moveTo(4), std::runtime_error);
}

TEST_F(HistoryMoveTest, AListenerMayMoveAgain)
{
    bool isFirst = true;
    const auto connection = history->connectToSigMoved(
        [&](MoveResult)
        {
            if (std::exchange(isFirst, false))
            {
                expectMove(4, MoveResult::Reached);
            }
        });
    expectMove(1, MoveResult::Reached);
    EXPECT_EQ(manager.getPosition(), 4U);
}

TEST_F(HistoryMoveTest, ASlotMayDestroyIt)
{
    const auto destroy = [&]
    {
        history.reset();
    };
    {
        const auto connection = manager.connectToSigCommandUndone(destroy);
        bool isTold = false;
        const auto moved = history->connectToSigMoved([&](MoveResult) { isTold = true; });
        History& used = *history;
        EXPECT_EQ(nameOf(used.moveTo(2)), "interrupted");
        EXPECT_EQ(manager.getPosition(), 3U);
        EXPECT_FALSE(isTold);
    }
    history.emplace(manager);
    bool isHeard = false;
    const auto first = history->connectToSigMoved([&](MoveResult) { history.reset(); });
    const auto second = history->connectToSigMoved([&](MoveResult) { isHeard = true; });
    History& used = *history;
    EXPECT_EQ(nameOf(used.moveTo(2)), "reached");
    EXPECT_FALSE(isHeard);
}

} // namespace
} // namespace Valdane
