// Commands that throw, operations that are refused, and very many commands.

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Toolkit/Qt/UndoStack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QUndoCommand>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{

using Valdane::CommandManager;
using Valdane::UndoStack;

class OtherFault
{
};

/// Appends a letter, and does before that what the test has put in.
class Faulty : public QUndoCommand
{
public:
    Faulty(std::string& changed, char added, int& livingNumber)
        : QUndoCommand(QString(QLatin1Char(added))), text(changed), letter(added), living(livingNumber)
    {
        ++living;
    }

    Faulty(const Faulty&) = delete;
    Faulty& operator=(const Faulty&) = delete;

    ~Faulty() override
    {
        --living;
    }

    void redo() override
    {
        fault();
        text += letter;
    }

    void undo() override
    {
        fault();
        text.pop_back();
    }

    std::function<void()> fault = [] {
    };

private:
    std::string& text;
    char letter;
    int& living;
};

class QuickRun : public Valdane::ThreadedCommand
{
public:
    QuickRun() : ThreadedCommand("run") {}

    void run() override {}

    void finishRun() override {}

    void undo() override {}
};

/// A command of the manager's own whose undo cannot be taken back.
class OneWay : public Valdane::CommandBase
{
public:
    OneWay() : CommandBase("one way") {}

    void execute() override {}

    void undo() override {}

    bool isRedoCapable() override
    {
        return false;
    }
};

class UndoStackFaultsTest : public testing::Test
{
protected:
    UndoStackFaultsTest()
    {
        QObject::connect(&stack, &UndoStack::indexChanged,
                         [this](int index) { told += " index " + std::to_string(index); });
        QObject::connect(&stack, &UndoStack::cleanChanged,
                         [this](bool clean) { told += clean ? " clean" : " dirty"; });
        QObject::connect(&stack, &UndoStack::canUndoChanged,
                         [this](bool can) { told += can ? " undo" : " no undo"; });
        QObject::connect(&stack, &UndoStack::canRedoChanged,
                         [this](bool can) { told += can ? " redo" : " no redo"; });
    }

    Faulty* push(char letter)
    {
        auto* command = new Faulty(text, letter, living);
        stack.push(command);
        return command;
    }

    void push(char letter, const std::function<void()>& fault)
    {
        auto* command = new Faulty(text, letter, living);
        command->fault = fault;
        stack.push(command);
    }

    std::string takeToldSignals()
    {
        return std::exchange(told, {});
    }

    CommandManager manager;
    int living = 0;
    std::string text;
    std::string told;
    UndoStack stack{manager};
    Valdane::Signals::Connection failed =
        manager.connectToSigCommandFailed([this](const char* what, const std::string& description)
                                          { told += " failed " + description + ": " + what; });
};

const auto throwStandard = []
{
    throw std::runtime_error("refused");
};
const auto throwNumber = []
{
    throw 7; // NOLINT(hicpp-exception-baseclass)
};
const auto throwOther = []
{
    throw OtherFault();
};

} // namespace

TEST_F(UndoStackFaultsTest, WhatIsThrownInAPushReachesTheCaller)
{
    push('a');
    push('b');
    stack.undo();
    takeToldSignals();
    EXPECT_THROW(push('x', throwStandard), std::runtime_error);
    EXPECT_THROW(push('x', throwNumber), int);
    EXPECT_THROW(push('x', throwOther), OtherFault);
    EXPECT_EQ(takeToldSignals(), "");
    EXPECT_EQ(living, 2) << "the commands that threw are gone, and the one to redo is not";
    stack.beginMacro("macro");
    EXPECT_THROW(push('x', throwNumber), int);
    push('c');
    stack.endMacro();
    EXPECT_EQ(takeToldSignals(), " no undo no redo index 2 undo no redo");
    stack.undo();
    EXPECT_EQ(text, "a");
}

TEST_F(UndoStackFaultsTest, AfterAFailureTheIndexIsWhereTheCommandsAre)
{
    push('a');
    Faulty* const second = push('b');
    push('c');
    push('d');
    takeToldSignals();
    second->fault = throwStandard;
    stack.setIndex(0);
    EXPECT_EQ(takeToldSignals(), " failed b: refused index 2 undo redo") << "the manager has reported it";
    stack.setIndex(4);
    takeToldSignals();

    second->fault = throwNumber;
    EXPECT_THROW(stack.setIndex(0), int);
    EXPECT_EQ(text, "ab");
    EXPECT_EQ(stack.index(), 2);
    EXPECT_EQ(takeToldSignals(), " index 2 undo redo") << "no failure of a command that the manager knows";
    EXPECT_THROW(stack.undo(), int);
    EXPECT_EQ(takeToldSignals(), "");

    second->fault = [] {
    };
    stack.undo();
    second->fault = throwOther;
    EXPECT_EQ(takeToldSignals(), " index 1 undo redo");
    EXPECT_THROW(stack.redo(), OtherFault);
    EXPECT_THROW(stack.setIndex(4), OtherFault);
    EXPECT_EQ(takeToldSignals(), "");
    EXPECT_EQ(text, "a");
    manager.undo(1);
    EXPECT_EQ(takeToldSignals(), " index 0 no undo redo clean") << "what others do is told as ever";
}

TEST_F(UndoStackFaultsTest, AMacroThatIsRefusedIsNotOpenAndForgetsNothing)
{
    push('a');
    push('b');
    stack.undo();
    takeToldSignals();
    manager.addThreadedCommand(std::make_shared<QuickRun>());
    EXPECT_THAT([&] { stack.beginMacro("macro"); },
                testing::ThrowsMessage<Valdane::VdException>(
                    testing::HasSubstr("while a threaded command is running")));
    EXPECT_EQ(takeToldSignals(), "");
    EXPECT_TRUE(manager.getOpenGroups().empty());
    EXPECT_EQ(stack.count(), 2) << "no macro, and the command to redo is kept";
    EXPECT_TRUE(stack.canUndo());
    stack.redo();
    EXPECT_EQ(text, "ab");
    manager.finalizeThread();
    takeToldSignals();
    stack.beginMacro("macro");
    push('c');
    stack.endMacro();
    EXPECT_EQ(takeToldSignals(), " no undo no redo index 4 undo no redo");
}

TEST_F(UndoStackFaultsTest, AMacroIsOverWhenOthersEndItsGroup)
{
    stack.beginMacro("macro");
    push('a');
    takeToldSignals();
    manager.endGroup();
    EXPECT_EQ(takeToldSignals(), " index 1 undo no redo dirty");
    EXPECT_EQ(stack.count(), 1);
    EXPECT_EQ(stack.text(0), "macro");
    EXPECT_EQ(stack.text(1), "");
    stack.endMacro(); // there is none
    EXPECT_EQ(takeToldSignals(), "");
    stack.undo();
    EXPECT_EQ(text, "");

    stack.beginMacro("outer");
    stack.beginMacro("inner");
    manager.abandonGroup();
    push('b');
    stack.endMacro();
    takeToldSignals();
    EXPECT_TRUE(manager.getOpenGroups().empty());
    EXPECT_EQ(stack.text(0), "outer");
    EXPECT_TRUE(stack.canUndo());
}

TEST_F(UndoStackFaultsTest, InAGroupOfOthersAMacroIsAPartAndNothingIsCleared)
{
    push('x');
    manager.beginGroup("theirs");
    stack.beginMacro("macro");
    push('a');
    stack.beginMacro("inner");
    stack.endMacro();
    EXPECT_EQ(stack.count(), 2) << "the macro is still open";
    stack.endMacro();
    EXPECT_EQ(stack.count(), 1) << "and now it is not";
    stack.endMacro(); // there is none
    EXPECT_EQ(manager.getOpenGroups().size(), 1U);
    takeToldSignals();
    EXPECT_THROW(stack.clear(), Valdane::VdException);
    EXPECT_EQ(manager.getSavedPosition(0), std::nullopt);
    EXPECT_EQ(manager.getOpenGroups().size(), 1U);
    manager.endGroup();
    EXPECT_EQ(takeToldSignals(), " index 2 undo no redo");
    stack.undo();
    EXPECT_EQ(text, "x");
}

TEST_F(UndoStackFaultsTest, TheCleanStateIsNotWhereACommandWasUndoneForGood)
{
    manager.addCommand(std::make_shared<OneWay>());
    stack.setClean();
    takeToldSignals();
    stack.undo();
    EXPECT_EQ(stack.cleanIndex(), -1) << "it had the effect of the command, and nothing leads back there";
    EXPECT_EQ(takeToldSignals(), " dirty index 0 no undo no redo");
    stack.setClean();
    manager.addCommand(std::make_shared<OneWay>());
    takeToldSignals();
    manager.undo(1);
    EXPECT_EQ(stack.cleanIndex(), 0) << "it was undone, not taken";
    EXPECT_EQ(takeToldSignals(), " index 0 no undo no redo clean");
}

TEST_F(UndoStackFaultsTest, WhenTheCommandsAheadAreGoneAMoveEnds)
{
    for (const char letter : {'a', 'b', 'c', 'd'})
    {
        push(letter);
    }
    stack.setIndex(0);
    takeToldSignals();
    const auto connection = manager.connectToSigCommandExecuted([this] { manager.forgetRedoCommands(); });
    stack.setIndex(4);
    EXPECT_EQ(text, "a");
    EXPECT_EQ(takeToldSignals(), " index 1 undo no redo dirty");
}

TEST_F(UndoStackFaultsTest, WhenASlotAddsACommandThatOneIsNotDropped)
{
    auto* const obsolete = push('a');
    obsolete->fault = [obsolete]
    {
        obsolete->setObsolete(true);
    };
    const auto connection = manager.connectToSigCommandExecuted(
        [this]
        {
            if (stack.count() == 1)
            {
                manager.addExecutedCommand(std::make_shared<OneWay>());
            }
        });
    stack.undo();
    EXPECT_EQ(text, "");
    EXPECT_EQ(stack.text(stack.count() - 1), "one way");
    EXPECT_TRUE(stack.canUndo());
}

TEST_F(UndoStackFaultsTest, OfAMillionCommandsTheLimitKeepsTheNewest)
{
    stack.setUndoLimit(3);
    stack.disconnect();
    for (int number = 0; number < 1'000'000; ++number)
    {
        text.clear();
        push(static_cast<char>('a' + number % 26));
        ASSERT_LE(living, 3);
    }
    EXPECT_EQ(living, 3);
    EXPECT_EQ(stack.count(), 3);
    EXPECT_EQ(stack.text(0) + stack.text(1) + stack.text(2), "lmn");
    EXPECT_EQ(stack.cleanIndex(), -1);
}
