#include "Toolkit/Qt/UndoRedoActions.h"

#include "Service/Editing/ActiveHistory.h"
#include "Tests/Toolkit/Qt/Steps.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QKeySequence>
#include <QTest>
#include <QWidget>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using QtTestSupport::Counter;
using QtTestSupport::Messages;
using Valdane::ActiveHistory;
using Valdane::createRedoAction;
using Valdane::createUndoAction;

std::string shown(const QAction* action)
{
    return action->text().toStdString() + (action->isEnabled() ? "" : " (disabled)");
}

} // namespace

TEST(UndoRedoActionsTest, FollowTheActiveDocument)
{
    Counter pump;
    Counter valve;
    ActiveHistory history;
    QObject parent;
    auto* const undo = createUndoAction(history, &parent);
    auto* const redo = createRedoAction(history, &parent);
    EXPECT_EQ(undo->parent(), &parent);
    EXPECT_EQ(shown(undo), "Undo (disabled)");
    EXPECT_EQ(shown(redo), "Redo (disabled)");
    pump.add("Rename pump");
    {
        ActiveHistory::Document first(history, pump.manager);
        first.activate();
        EXPECT_EQ(shown(undo), "Undo Rename pump");
        undo->trigger();
        EXPECT_EQ(pump.number, 0);
        EXPECT_EQ(shown(undo), "Undo (disabled)");
        EXPECT_EQ(shown(redo), "Redo Rename pump");
        ActiveHistory::Document second(history, valve.manager);
        second.activate();
        EXPECT_EQ(shown(redo), "Redo (disabled)");
        first.activate();
        redo->trigger();
        EXPECT_EQ(pump.number, 1);
    }
    EXPECT_EQ(shown(undo), "Undo (disabled)");
}

TEST(UndoRedoActionsTest, HaveShortcutsAndIconsOfThePlatform)
{
    Counter counter;
    QObject parent;
    const auto* const undo = createUndoAction(counter.manager, &parent);
    const auto* const redo = createRedoAction(counter.manager, &parent);
    EXPECT_EQ(undo->shortcuts(), QKeySequence::keyBindings(QKeySequence::Undo));
    EXPECT_EQ(redo->shortcuts(), QKeySequence::keyBindings(QKeySequence::Redo));
    EXPECT_FALSE(undo->icon().isNull());
    EXPECT_FALSE(redo->icon().isNull());
}

TEST(UndoRedoActionsTest, AKeyUndoesAndAnotherRedoes)
{
    Counter counter;
    counter.add("a");
    QWidget window;
    window.addAction(createUndoAction(counter.manager, &window));
    window.addAction(createRedoAction(counter.manager, &window));
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keySequence(&window, QKeySequence::Undo);
    EXPECT_EQ(counter.number, 0);
    QTest::keySequence(&window, QKeySequence::Redo);
    EXPECT_EQ(counter.number, 1);
}

TEST(UndoRedoActionsTest, ADescriptionIsShownAsItIs)
{
    Counter counter;
    QObject parent;
    const auto* const undo = createUndoAction(counter.manager, &parent);
    counter.add("Nuts & bolts: 100 %1");
    EXPECT_EQ(shown(undo), "Undo Nuts && bolts: 100 %1");
    counter.add("R\xc3\xbc"
                "ckw\xc3\xa4rts");
    EXPECT_EQ(shown(undo), "Undo R\xc3\xbc"
                           "ckw\xc3\xa4rts");
}

TEST(UndoRedoActionsTest, TextsCanBeGiven)
{
    Counter counter;
    QObject parent;
    const auto* const undo = createUndoAction(counter.manager, &parent,
                                              {.pattern = "%1 zur\xc3\xbc"
                                                          "cknehmen",
                                               .plain = "Nichts"});
    const auto* const redo =
        createRedoAction(counter.manager, &parent, {.pattern = "Wieder %1", .plain = "Nichts mehr"});
    EXPECT_EQ(shown(undo), "Nichts (disabled)");
    EXPECT_EQ(shown(redo), "Nichts mehr (disabled)");
    counter.add("a");
    EXPECT_EQ(shown(undo), "a zur\xc3\xbc"
                           "cknehmen");
    counter.manager.undo(1);
    EXPECT_EQ(shown(redo), "Wieder a");
}

TEST(UndoRedoActionsTest, AStepThatFailsStaysAndOneThatASlotSpoilsIsDone)
{
    Counter counter;
    QObject parent;
    auto* const redo = createRedoAction(counter.manager, &parent);
    auto* const undo = createUndoAction(counter.manager, &parent);
    const auto step = counter.add("a");
    step->fails = true;
    undo->trigger();
    EXPECT_EQ(counter.number, 1);
    EXPECT_EQ(shown(undo), "Undo a");
    step->fails = false;
    const Messages messages;
    {
        const auto spoils = counter.manager.connectToSigCommandQueueChanged(
            [](auto&&...) { throw std::runtime_error("spoilt"); });
        undo->trigger();
    }
    {
        const auto spoils = counter.manager.connectToSigCommandQueueChanged([](auto&&...) { throw 1; });
        redo->trigger();
    }
    EXPECT_EQ(counter.number, 1);
    EXPECT_EQ(Messages::all, (std::vector<std::string>{"spoilt", "an exception of unknown type"}));
}

TEST(UndoRedoActionsTest, AreDisabledWhileAGroupIsOpen)
{
    Counter counter;
    QObject parent;
    const auto* const undo = createUndoAction(counter.manager, &parent);
    counter.add("a");
    counter.manager.beginGroup("g");
    EXPECT_EQ(shown(undo), "Undo (disabled)");
    counter.manager.endGroup();
    EXPECT_EQ(shown(undo), "Undo a");
}

// As in a window whose members are the history and the documents, and whose children are the actions.
TEST(UndoRedoActionsTest, MayBeDestroyedBeforeOrAfterWhatTheyFollow)
{
    QObject parent;
    {
        auto history = std::make_unique<ActiveHistory>();
        auto counter = std::make_unique<Counter>();
        counter->add("a");
        std::optional<ActiveHistory::Document> document(std::in_place, *history, counter->manager);
        document->activate();
        (void)createUndoAction(*history, &parent);
        (void)createRedoAction(counter->manager, &parent);
        delete createUndoAction(*history, &parent);
        history.reset();
        document.reset();
        counter->add("b");
    }
    Counter counter;
    auto* const undo = createUndoAction(counter.manager, &parent);
    counter.add("a");
    const auto destroys = counter.manager.connectToSigCommandQueueChanged([undo](auto&&...) { delete undo; });
    undo->trigger();
    EXPECT_EQ(counter.number, 0);
}
