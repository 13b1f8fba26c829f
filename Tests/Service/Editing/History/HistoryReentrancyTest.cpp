#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Service/Editing/History/HistoryFixture.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"

#include <gmock/gmock.h>

#include <new>
#include <stdexcept>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

class HistoryReentrancyTest : public HistoryTest
{
protected:
    /// Something else each time that it is called, up to the fifth.
    void changeAgain()
    {
        switch (++changes)
        {
        case 1:
            manager.undo(1);
            break;
        case 2:
            addAll("xy");
            break;
        case 3:
            manager.setMaxQueueSize(2);
            break;
        case 4:
            manager.clear();
            break;
        case 5:
            addAll("z");
            break;
        default:
            break;
        }
    }

    /// Has two changes that are more than one signal each.
    void change()
    {
        manager.undo(1);
        addAll("f");
        limitTo(4);
    }

    int changes = 0;
};

TEST_F(HistoryReentrancyTest, ASlotMayChangeTheHistory)
{
    addAll("abcde");
    const auto test = [&](Signals::Connection& connection)
    {
        Model model(*history);
        model.connect(*history);
        changes = 0;
        change();
        connection.disconnect();
        EXPECT_GE(changes, 1);
        EXPECT_EQ(model.rows, looksOf(manager));
        EXPECT_EQ(looks(), looksOf(manager));
        manager.setUsesMaxQueueSize(false);
        addAll("abcde");
    };
    atEachSignal([&] { changeAgain(); }, test);
}

TEST_F(HistoryReentrancyTest, ASlotThatIsConnectedBeforeMayChangeTheHistory)
{
    addAll("abcde");
    const auto before = manager.connectToSigHistoryChanged([&](const HistoryChange&) { changeAgain(); });
    history.emplace(manager);
    Model model(*history);
    model.connect(*history);
    change();
    EXPECT_GE(changes, 5);
    EXPECT_EQ(model.rows, looksOf(manager));
    EXPECT_EQ(looks(), looksOf(manager));
}

TEST_F(HistoryReentrancyTest, ARowThatWasReadTooLateIsReadAgain)
{
    addAll("ab");
    bool isFirst = true;
    const auto before = manager.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (std::exchange(isFirst, false))
            {
                limitTo(2);
            }
        });
    history.emplace(manager);
    Model model(*history);
    model.connect(*history);
    EXPECT_THAT(toldBy([&] { add("c"); }),
                ElementsAre("inserted 2 1", "whole", "removed 0 1", "changed 0 2", "whole"));
    EXPECT_THAT(model.rows, ElementsAre("b+", "c*"));
}

TEST_F(HistoryReentrancyTest, ASlotMayDestroyIt)
{
    for (const char* signal : {"removed", "inserted", "changed", "whole"})
    {
        SCOPED_TRACE(signal);
        manager.setUsesMaxQueueSize(false);
        manager.clear();
        addAll("abc");
        manager.undo(1);
        history.emplace(manager);
        int heard = 0;
        const auto destroy = [&]
        {
            history.reset();
            heard = 0;
        };
        const auto destroyAtRows = [&](std::uint64_t /*first*/, std::uint64_t /*count*/)
        {
            destroy();
        };
        const std::string name = signal;
        Signals::Connection connection = name == "removed" ? history->connectToSigRowsRemoved(destroyAtRows)
                                         : name == "inserted"
                                             ? history->connectToSigRowsInserted(destroyAtRows)
                                         : name == "changed" ? history->connectToSigRowsChanged(destroyAtRows)
                                                             : history->connectToSigChanged(destroy);
        const auto hear = [&](std::uint64_t /*first*/, std::uint64_t /*count*/)
        {
            ++heard;
        };
        const auto removed = history->connectToSigRowsRemoved(hear);
        const auto inserted = history->connectToSigRowsInserted(hear);
        const auto changed = history->connectToSigRowsChanged(hear);
        const auto whole = history->connectToSigChanged([&] { ++heard; });
        add("d");
        EXPECT_FALSE(history.has_value());
        EXPECT_EQ(heard, 0) << "what was destroyed tells nobody";
        EXPECT_EQ(manager.getQueueSize(), 3U);
    }
}

TEST_F(HistoryReentrancyTest, ItMayBeMadeByASlot)
{
    std::optional<History> late;
    const auto connection = manager.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (!late.has_value())
            {
                add("b");
                late.emplace(manager);
            }
        });
    add("a");
    EXPECT_EQ(late->getRowCount(), 2U);
    EXPECT_EQ(lookOf(*late, 1), "b*");
}

TEST_F(HistoryReentrancyTest, WhenASlotThrowsTheOtherSignalsAreEmitted)
{
    bool isThrowing = false;
    const auto failIfWanted = [&]
    {
        if (isThrowing)
        {
            fail();
        }
    };
    const auto test = [&](Signals::Connection& connection)
    {
        isThrowing = false;
        manager.clear();
        addAll("abc");
        manager.undo(1);
        isThrowing = true;
        Journal journal;
        const Recorder recorder(*history, journal);
        EXPECT_THROW(add("d"), std::runtime_error);
        EXPECT_EQ(journal.size(), 3U) << "all but the one whose first slot throws";
        EXPECT_EQ(looks(), looksOf(manager));
        connection.disconnect();
        EXPECT_THAT(toldBy([&] { add("e"); }), ElementsAre("inserted 3 1", "changed 2 1", "whole"));
    };
    atEachSignal(failIfWanted, test);
}

TEST_F(HistoryReentrancyTest, TheFirstExceptionPassesOn)
{
    addAll("a");
    const auto inserted = history->connectToSigRowsInserted(
        [](std::uint64_t /*first*/, std::uint64_t /*count*/) { failStrangely(); });
    const auto whole = history->connectToSigChanged(fail);
    EXPECT_THROW(add("b"), Stranger);
    EXPECT_THROW(manager.undo(1), std::runtime_error);
    EXPECT_EQ(looks(), looksOf(manager));
}

TEST_F(HistoryReentrancyTest, NoticesAChangeThatItWasNotToldOf)
{
    const std::vector<std::function<void()>> missed = {
        [&] { add("x"); },
        [&] { manager.undo(1); },
        [&] { manager.takeLastExecutedCommand(); },
        [&] { manager.forgetRedoCommands(); },
        [&] { manager.clear(); },
    };
    for (std::size_t index = 0; index < missed.size(); ++index)
    {
        SCOPED_TRACE(index);
        manager.clear();
        addAll("abcdefg");
        manager.undo(3);
        bool isThrowing = true;
        const auto before = manager.connectToSigHistoryChanged(
            [&](const HistoryChange&)
            {
                if (isThrowing)
                {
                    fail();
                }
            });
        history.emplace(manager);
        Model model(*history);
        model.connect(*history);
        EXPECT_THROW(missed[index](), std::runtime_error);
        isThrowing = false;
        addAll("yz");
        EXPECT_EQ(model.rows, looksOf(manager));
        EXPECT_EQ(looks(), looksOf(manager));
    }
}

TEST_F(HistoryReentrancyTest, RowsAreExactWhicheverAllocationFails)
{
    const std::vector<std::function<void()>> operations = {
        [&] { add("x"); },           [&] { manager.undo(1); },
        [&] { manager.redo(1); },    [&] { manager.addOrMergeCommand(std::make_shared<Drag>("y")); },
        [&] { manager.clear(); },    [&] { manager.takeExecutedCommands(); },
        [&] { history->moveTo(0); },
    };
    for (std::size_t index = 0; index < operations.size(); ++index)
    {
        SCOPED_TRACE(index);
        bool hasFailed = true;
        for (std::size_t successes = 0; hasFailed; ++successes)
        {
            manager.clear();
            addAll("abc");
            manager.addCommand(std::make_shared<Drag>("d"));
            manager.undo(index == 2 ? 1 : 0);
            {
                const FailingAllocation failing(successes);
                try
                {
                    operations[index]();
                }
                catch (const std::bad_alloc&)
                {
                }
                hasFailed = failing.hasFailed();
            }
            EXPECT_EQ(looks(), looksOf(manager)) << successes;
            Model model(*history);
            model.connect(*history);
            add("z");
            EXPECT_EQ(model.rows, looksOf(manager)) << successes;
        }
    }
}

} // namespace
} // namespace Valdane
