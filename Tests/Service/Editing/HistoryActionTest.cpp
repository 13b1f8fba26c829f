#include "Service/Editing/HistoryAction.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandTesting/Allocations.h"
#include "Service/Editing/ActiveHistory.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/UndoAction.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;
using Told = std::vector<std::string>;

/// "-" if the action is disabled.
std::string lookOf(const HistoryAction& action)
{
    return (action.isEnabled() ? "" : "-") + action.getText();
}

class HistoryActionTest : public testing::Test
{
protected:
    std::shared_ptr<ScriptedCommand> add(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        manager.addCommand(command);
        return command;
    }

    /// What both actions looked like each time that they told of a change while @p action ran.
    Told toldBy(const std::function<void()>& action)
    {
        Told journal;
        const auto undone = undoAction->connectToSigChanged([&] { journal.push_back(lookOf(*undoAction)); });
        const auto redone = redoAction->connectToSigChanged([&] { journal.push_back(lookOf(*redoAction)); });
        action();
        return journal;
    }

    CommandManager manager;
    ActiveHistory history;
    std::optional<ActiveHistory::Document> document{std::in_place, history, manager};
    std::optional<UndoAction> undoAction{std::in_place, history};
    std::optional<RedoAction> redoAction{std::in_place, history};
};

TEST_F(HistoryActionTest, WithoutAnActiveManagerItIsDisabled)
{
    add("a");
    EXPECT_EQ(lookOf(*undoAction), "-Undo");
    EXPECT_EQ(lookOf(*redoAction), "-Redo");
    EXPECT_FALSE(undoAction->trigger());
    EXPECT_EQ(manager.getPosition(), 1U);
}

TEST_F(HistoryActionTest, FollowsTheActiveManager)
{
    add("Rename pump");
    EXPECT_THAT(toldBy([&] { document->activate(); }), ElementsAre("Undo Rename pump"));
    EXPECT_THAT(toldBy([&] { add("Move pump"); }), ElementsAre("Undo Move pump"));
    EXPECT_THAT(
        toldBy([&] { manager.undo(2); }),
        testing::UnorderedElementsAre("Undo Rename pump", "Redo Move pump", "-Undo", "Redo Rename pump"));
    CommandManager other;
    {
        ActiveHistory::Document otherDocument(history, other);
        EXPECT_THAT(toldBy([&] { otherDocument.activate(); }), ElementsAre("-Redo")) << "undo was disabled";
    }
    document->activate();
    EXPECT_THAT(toldBy([&] { document.reset(); }), ElementsAre("-Redo"));
}

TEST_F(HistoryActionTest, DoesWhatItSays)
{
    document->activate();
    add("a");
    add("b");
    EXPECT_THAT(toldBy([&] { EXPECT_TRUE(undoAction->trigger()); }), ElementsAre("Undo a", "Redo b"));
    EXPECT_THAT(toldBy([&] { EXPECT_TRUE(redoAction->trigger()); }), ElementsAre("Undo b", "-Redo"));
    EXPECT_FALSE(redoAction->trigger());
    EXPECT_EQ(manager.getPosition(), 2U);
}

TEST_F(HistoryActionTest, TellsOncePerChange)
{
    document->activate();
    add("a");
    EXPECT_THAT(toldBy([&] { add("a"); }), IsEmpty()) << "the text is the same";
    EXPECT_THAT(toldBy([&] { manager.adjustOnSave(0); }), IsEmpty());
    EXPECT_THAT(toldBy([&] { manager.undo(1); }), ElementsAre("Redo a"));
    EXPECT_THAT(toldBy([&] { add("b"); }), ElementsAre("Undo b", "-Redo"));
    EXPECT_THAT(toldBy([&] { manager.clear(); }), ElementsAre("-Undo"));
    undoAction->update();
    EXPECT_THAT(toldBy([&] { undoAction->update(); }), IsEmpty());
}

TEST_F(HistoryActionTest, HearsOfWhatTheOtherSignalsAreSilentAbout)
{
    document->activate();
    add("a");
    add("b");
    EXPECT_THAT(toldBy([&] { manager.takeLastExecutedCommand(); }), ElementsAre("Undo a"));
    manager.undo(1);
    EXPECT_THAT(toldBy([&] { manager.forgetRedoCommands(); }), ElementsAre("-Redo"));
    add("c");
    manager.setMaxQueueSize(0);
    EXPECT_THAT(toldBy([&] { manager.setUsesMaxQueueSize(true); }), ElementsAre("-Undo"));
}

TEST_F(HistoryActionTest, IsDisabledWhileAGroupIsOpen)
{
    document->activate();
    add("a");
    EXPECT_THAT(toldBy(
                    [&]
                    {
                        manager.beginGroup("G");
                        EXPECT_EQ(lookOf(*undoAction), "-Undo") << "as soon as it is asked";
                        EXPECT_FALSE(undoAction->trigger());
                        add("b");
                        add("c");
                    }),
                ElementsAre("-Undo"));
    EXPECT_THAT(toldBy([&] { manager.endGroup(); }), ElementsAre("Undo G"));
    manager.beginGroup("H");
    add("d");
    EXPECT_THAT(toldBy([&] { manager.abandonGroup(); }), ElementsAre("Undo G"));
}

TEST_F(HistoryActionTest, HearsOfGroupsWithoutACommand)
{
    document->activate();
    add("a");
    EXPECT_THAT(toldBy([&] { manager.beginGroup("G"); }), ElementsAre("-Undo"));
    EXPECT_THAT(toldBy([&] { manager.beginGroup("H"); }), IsEmpty());
    EXPECT_THAT(toldBy([&] { manager.abandonGroup(); }), IsEmpty()) << "G is still open";
    EXPECT_THAT(toldBy([&] { manager.endGroup(); }), ElementsAre("Undo a"));
}

TEST_F(HistoryActionTest, IsDisabledWhileAThreadedCommandIsRunning)
{
    document->activate();
    add("a");
    add("b");
    manager.undo(1);
    manager.getThreadManager()->setThreadingMode(0);
    const auto run = std::make_shared<ScriptedRun>("Fit");
    run->onRun = [&]
    {
        EXPECT_FALSE(undoAction->trigger());
        EXPECT_FALSE(redoAction->trigger());
        EXPECT_EQ(manager.getPosition(), 1U);
    };
    manager.addThreadedCommand(run);
    EXPECT_EQ(lookOf(*undoAction), "Undo Fit");
}

TEST_F(HistoryActionTest, AnUpdateTellsWhatTheManagerDoesNot)
{
    document->activate();
    add("a")->setDescription("b");
    EXPECT_THAT(toldBy([&] { undoAction->update(); }), ElementsAre("Undo b"));
}

TEST_F(HistoryActionTest, TextsAreFilledInOnce)
{
    document->activate();
    add("%1 %1 \"100 %\"");
    EXPECT_EQ(undoAction->getText(), "Undo %1 %1 \"100 %\"");
    undoAction->setTexts({.pattern = "%1: %1", .plain = ""});
    EXPECT_EQ(undoAction->getText(), "%1 %1 \"100 %\": %1 %1 \"100 %\"");
    undoAction->setTexts({.pattern = "back%", .plain = ""});
    EXPECT_EQ(undoAction->getText(), "back%");
}

TEST_F(HistoryActionTest, TextsMayBeOfAnyLanguage)
{
    document->activate();
    add("Größe ändern");
    const HistoryActionTexts texts = {.pattern = "「%1」を元に戻す", .plain = "元に戻す"};
    EXPECT_THAT(toldBy([&] { undoAction->setTexts(texts); }), ElementsAre("「Größe ändern」を元に戻す"));
    EXPECT_THAT(toldBy([&] { manager.clear(); }), ElementsAre("-元に戻す"));
    EXPECT_THAT(toldBy([&] { undoAction->setTexts({.pattern = "Undo %1", .plain = "元に戻す"}); }),
                IsEmpty());
}

TEST_F(HistoryActionTest, ACommandWithoutADescriptionHasThePlainText)
{
    document->activate();
    EXPECT_THAT(toldBy([&] { add(""); }), ElementsAre("Undo"));
    EXPECT_THAT(toldBy([&] { undoAction->trigger(); }), ElementsAre("-Undo", "Redo"));
}

TEST_F(HistoryActionTest, MayActOnOneManagerOnly)
{
    add("a");
    UndoAction undoOnly(manager);
    RedoAction redoOnly(manager, {.pattern = "again %1", .plain = "again"});
    EXPECT_EQ(lookOf(undoOnly), "Undo a");
    EXPECT_EQ(lookOf(redoOnly), "-again");
    Told journal;
    const auto connection = redoOnly.connectToSigChanged([&] { journal.push_back(lookOf(redoOnly)); });
    EXPECT_TRUE(undoOnly.trigger());
    EXPECT_THAT(journal, ElementsAre("again a"));
    EXPECT_TRUE(redoOnly.trigger());
    EXPECT_EQ(manager.getPosition(), 1U);
}

TEST_F(HistoryActionTest, ACommandThatFailsStays)
{
    document->activate();
    add("a")->onUndo = fail;
    EXPECT_THAT(toldBy([&] { EXPECT_FALSE(undoAction->trigger()); }), IsEmpty());
    EXPECT_EQ(lookOf(*undoAction), "Undo a");
    manager.clear();
    add("b")->onUndo = failStrangely;
    EXPECT_THROW(undoAction->trigger(), Stranger);
    EXPECT_EQ(lookOf(*undoAction), "Undo b");
}

TEST_F(HistoryActionTest, ASlotThatThrowsIsHeardByWhoeverChangedTheHistory)
{
    document->activate();
    const auto connection = undoAction->connectToSigChanged(fail);
    EXPECT_THROW(add("a"), std::runtime_error);
    EXPECT_EQ(lookOf(*undoAction), "Undo a");
    EXPECT_THROW(undoAction->trigger(), std::runtime_error);
    EXPECT_EQ(lookOf(*undoAction), "-Undo");
    EXPECT_THROW(undoAction->setTexts({}), std::runtime_error);
    EXPECT_EQ(lookOf(*undoAction), "-");
}

TEST_F(HistoryActionTest, ASlotMayTriggerIt)
{
    document->activate();
    const auto connection = undoAction->connectToSigChanged([&] { undoAction->trigger(); });
    EXPECT_THAT(toldBy([&] { add("a"); }), testing::UnorderedElementsAre("-Undo", "-Undo", "Redo a"))
        << "who is told late sees what is so now";
    EXPECT_EQ(manager.getPosition(), 0U);
}

TEST_F(HistoryActionTest, ASlotMayDestroyIt)
{
    document->activate();
    bool isTold = false;
    {
        const auto destroy = undoAction->connectToSigChanged([&] { undoAction.reset(); });
        const auto second = undoAction->connectToSigChanged([&] { isTold = true; });
        add("a");
        EXPECT_FALSE(undoAction.has_value());
    }
    undoAction.emplace(history);
    {
        const auto destroy = undoAction->connectToSigChanged([&] { undoAction.reset(); });
        const auto second = undoAction->connectToSigChanged([&] { isTold = true; });
        // The action is destroyed by its own operation.
        EXPECT_TRUE(undoAction->trigger());
        EXPECT_FALSE(undoAction.has_value());
    }
    undoAction.emplace(manager);
    {
        const auto destroy = undoAction->connectToSigChanged([&] { undoAction.reset(); });
        manager.redo(1);
        EXPECT_FALSE(undoAction.has_value());
    }
    EXPECT_FALSE(isTold);
}

TEST_F(HistoryActionTest, ASlotMayActivateAnotherDocument)
{
    document->activate();
    CommandManager other;
    ActiveHistory::Document otherDocument(history, other);
    other.addCommand(std::make_shared<ScriptedCommand>("other"));
    const auto connection = manager.connectToSigCommandUndone([&] { otherDocument.activate(); });
    add("a");
    EXPECT_TRUE(undoAction->trigger());
    EXPECT_EQ(manager.getPosition(), 0U);
    EXPECT_EQ(lookOf(*undoAction), "Undo other");
    EXPECT_TRUE(undoAction->trigger());
    EXPECT_EQ(other.getPosition(), 0U);
}

TEST_F(HistoryActionTest, WhatIsNotToldForLackOfMemoryIsToldWithTheNextUpdate)
{
    document->activate();
    const std::string longName(100, 'x');
    bool hasFailed = true;
    for (std::size_t successes = 0; hasFailed; ++successes)
    {
        manager.clear();
        bool isShownEnabled = false;
        const auto connection =
            undoAction->connectToSigChanged([&] { isShownEnabled = undoAction->isEnabled(); });
        const auto command = std::make_shared<ScriptedCommand>(longName);
        {
            const FailingAllocation failing(successes);
            try
            {
                manager.addExecutedCommand(command);
            }
            catch (const std::bad_alloc&)
            {
            }
            hasFailed = failing.hasFailed();
        }
        undoAction->update();
        EXPECT_EQ(isShownEnabled, manager.canUndo()) << successes;
        EXPECT_EQ(lookOf(*undoAction), manager.canUndo() ? "Undo " + longName : "-Undo") << successes;
    }
}

} // namespace
} // namespace Valdane
