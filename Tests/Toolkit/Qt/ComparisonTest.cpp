// Where the manager and the toolkit's own undo stack differ: what the table in README.md says of both.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <QUndoCommand>
#include <QUndoStack>
#include <memory>
#include <optional>
#include <stdexcept>

namespace
{

using testing::Optional;

class OfQt : public QUndoCommand
{
public:
    explicit OfQt(int& changed) : number(changed) {}

    void redo() override
    {
        ++number;
    }

    void undo() override
    {
        --number;
    }

private:
    int& number;
};

// Qt's way to say in redo() that there is nothing to undo.
class ObsoleteOfQt : public QUndoCommand
{
public:
    void redo() override
    {
        setObsolete(true);
    }
};

class Ours : public Valdane::CommandBase
{
public:
    explicit Ours(int& changed) : CommandBase("Add one"), number(changed) {}

    void execute() override
    {
        ++number;
    }

    void undo() override
    {
        --number;
    }

private:
    int& number;
};

class FailingOfOurs : public Valdane::CommandBase
{
public:
    FailingOfOurs() : CommandBase("Fail") {}

    void execute() override
    {
        throw std::runtime_error("no room");
    }

    void undo() override {}
};

class ComparisonTest : public testing::Test
{
protected:
    ComparisonTest()
    {
        spdlog::set_level(spdlog::level::off);
    }

    ~ComparisonTest() override
    {
        spdlog::set_level(spdlog::level::info);
    }

    void pushTo(QUndoStack& stack)
    {
        stack.push(new OfQt(number));
    }

    void addTo(Valdane::CommandManager& manager)
    {
        manager.addCommand(std::make_shared<Ours>(number));
    }

    int number = 0;
};

} // namespace

TEST_F(ComparisonTest, ACommandThatFailsLeavesWhatCanBeRedone)
{
    QUndoStack stack;
    pushTo(stack);
    stack.undo();
    stack.push(new ObsoleteOfQt);
    EXPECT_EQ(stack.count(), 0);

    Valdane::CommandManager manager;
    addTo(manager);
    manager.undo(1);
    EXPECT_FALSE(manager.addCommand(std::make_shared<FailingOfOurs>()));
    EXPECT_TRUE(manager.canRedo());
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(ComparisonTest, AGroupCanBeGivenUp)
{
    QUndoStack stack;
    stack.beginMacro("Two");
    pushTo(stack);
    pushTo(stack);
    // There is no other way out than to end it.
    stack.endMacro();
    stack.undo();
    EXPECT_EQ(number, 0);
    EXPECT_TRUE(stack.canRedo());

    Valdane::CommandManager manager;
    manager.beginGroup("Two");
    addTo(manager);
    addTo(manager);
    EXPECT_EQ(number, 2);
    EXPECT_TRUE(manager.abandonGroup());
    EXPECT_EQ(number, 0);
    EXPECT_FALSE(manager.canRedo());
}

TEST_F(ComparisonTest, TheLimitCanBeSetWhileThereAreCommands)
{
    QUndoStack stack;
    pushTo(stack);
    pushTo(stack);
    stack.setUndoLimit(1);
    EXPECT_EQ(stack.undoLimit(), 0);
    EXPECT_EQ(stack.count(), 2);

    Valdane::CommandManager manager;
    addTo(manager);
    addTo(manager);
    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(manager.getQueueSize(), 1U);
}

TEST_F(ComparisonTest, ThereAreTwoSavePoints)
{
    QUndoStack stack;
    pushTo(stack);
    stack.setClean();
    pushTo(stack);
    stack.setClean();
    EXPECT_EQ(stack.cleanIndex(), 2);

    Valdane::CommandManager manager;
    addTo(manager);
    manager.adjustOnSave(0);
    addTo(manager);
    manager.adjustOnSave(1);
    EXPECT_THAT(manager.getSavedPosition(0), Optional(1U));
    EXPECT_THAT(manager.getSavedPosition(1), Optional(2U));
}

// What Qt's stack has, and the manager has not.
TEST_F(ComparisonTest, AnObsoleteCommandLeavesByItself)
{
    QUndoStack stack;
    stack.push(new ObsoleteOfQt);
    EXPECT_EQ(stack.count(), 0);

    Valdane::CommandManager manager;
    addTo(manager);
    EXPECT_EQ(manager.getQueueSize(), 1U);
    manager.takeLastExecutedCommand();
    EXPECT_EQ(manager.getQueueSize(), 0U);
}
