#include "Toolkit/Qt/UndoStack.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/Editing/History.h"
#include "Toolkit/Qt/QtCommand.h"
#include "Toolkit/Qt/UndoGroup.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QUndoCommand>
#include <memory>
#include <stdexcept>
#include <string>

namespace
{

using Valdane::CommandManager;
using Valdane::UndoGroup;
using Valdane::UndoStack;

class Appending : public QUndoCommand
{
public:
    Appending(std::string& changed, const std::string& added, int kind = -1)
        : QUndoCommand(QString::fromStdString("append " + added)), text(changed), part(added), number(kind)
    {
    }

    void redo() override
    {
        if (part == "throws")
        {
            throw std::runtime_error("refused");
        }
        text += part;
    }

    void undo() override
    {
        text.resize(text.size() - part.size());
    }

    int id() const override
    {
        return number;
    }

    bool mergeWith(const QUndoCommand* other) override
    {
        part += dynamic_cast<const Appending*>(other)->part;
        return true;
    }

private:
    std::string& text;
    std::string part;
    int number;
};

class NativeAppending : public Valdane::CommandBase
{
public:
    NativeAppending(std::string& changed, char added)
        : CommandBase(std::string("native ") + added), text(changed), part(added)
    {
    }

    void execute() override
    {
        text += part;
    }

    void undo() override
    {
        text.pop_back();
    }

private:
    std::string& text;
    char part;
};

class UndoStackTest : public testing::Test
{
protected:
    template <typename Stack>
    void listen(Stack& source)
    {
        QObject::connect(&source, &Stack::indexChanged,
                         [this](int index) { told += " index " + std::to_string(index); });
        QObject::connect(&source, &Stack::cleanChanged,
                         [this](bool clean) { told += clean ? " clean" : " dirty"; });
    }

    std::string takeTold()
    {
        return std::exchange(told, {});
    }

    std::string text;
    std::string told;
    CommandManager manager;
};

} // namespace

TEST_F(UndoStackTest, CommandsOfBothKindsAreStepsOfOneHistory)
{
    UndoStack stack(manager);
    listen(stack);
    stack.push(new Appending(text, "a"));
    EXPECT_TRUE(manager.addCommand(std::make_shared<NativeAppending>(text, 'b')));
    stack.push(new Appending(text, "c"));
    EXPECT_EQ(text, "abc");
    EXPECT_EQ(takeTold(), " index 1 dirty index 2 index 3");
    EXPECT_EQ(stack.text(0) + ", " + stack.text(1) + ", " + stack.text(2), "append a, native b, append c");
    EXPECT_NE(stack.command(0), nullptr);
    EXPECT_EQ(stack.command(1), nullptr) << "it is none of the toolkit's";
    stack.undo();
    stack.undo();
    EXPECT_EQ(text, "a");
    EXPECT_EQ(stack.redoText(), "native b");
    EXPECT_TRUE(manager.redo(2));
    EXPECT_EQ(takeTold(), " index 2 index 1 index 2 index 3");
    manager.undoAll();
    EXPECT_EQ(text, "");
    EXPECT_EQ(takeTold(), " index 2 index 1 index 0 clean");
}

TEST_F(UndoStackTest, AHistoryThatIsThereIsTakenOver)
{
    manager.addCommand(std::make_shared<NativeAppending>(text, 'a'));
    UndoStack stack(manager);
    EXPECT_EQ(stack.index(), 1);
    EXPECT_EQ(stack.cleanIndex(), 1);
    EXPECT_TRUE(stack.isClean());
    stack.undo();
    EXPECT_EQ(text, "");
    EXPECT_FALSE(stack.isClean());
}

TEST_F(UndoStackTest, ACleanStateGoesWithItsCommands)
{
    UndoStack stack(manager);
    for (const char* part : {"a", "b", "c"})
    {
        stack.push(new Appending(text, part));
    }
    stack.setIndex(2);
    stack.setClean();
    EXPECT_EQ(manager.getSavedPosition(0), 2U) << "it is the save point of the manager, too";
    manager.setMaxQueueSize(2);
    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(stack.cleanIndex(), 1) << "the oldest one has gone";
    stack.undo();
    manager.addCommand(std::make_shared<NativeAppending>(text, 'x'));
    EXPECT_EQ(stack.cleanIndex(), -1) << "it could be redone only";
    stack.setClean();
    auto taken = manager.takeLastExecutedCommand();
    EXPECT_EQ(stack.cleanIndex(), 0) << "the command has left the history, and not the data";
    EXPECT_TRUE(stack.isClean());
    stack.push(new Appending(text, "y"));
    taken = manager.takeLastExecutedCommand();
    EXPECT_EQ(stack.cleanIndex(), -1) << "nothing leads back to a state without a command that was taken";
    stack.setClean();
    stack.push(new Appending(text, "z"));
    manager.clear();
    EXPECT_EQ(stack.cleanIndex(), -1) << "the data are not what they were then";
    EXPECT_FALSE(stack.isClean());
    stack.setClean();
    manager.clear();
    EXPECT_TRUE(stack.isClean());
}

TEST_F(UndoStackTest, ACommandThatThrowsReachesWhoPushesItAndIsGone)
{
    UndoStack stack(manager);
    stack.push(new Appending(text, "a"));
    stack.undo();
    listen(stack);
    EXPECT_THROW(stack.push(new Appending(text, "throws")), std::runtime_error);
    EXPECT_EQ(stack.count(), 1) << "it can be redone still";
    EXPECT_EQ(takeTold(), "");
}

TEST_F(UndoStackTest, WhoShowsTheHistorySeesAMerge)
{
    UndoStack stack(manager);
    Valdane::History history(manager);
    stack.push(new Appending(text, "a", 1));
    int changes = 0;
    const auto connection = history.connectToSigChanged([&] { ++changes; });
    stack.push(new Appending(text, "b", 1));
    EXPECT_EQ(history.getRowCount(), 1U);
    EXPECT_GT(changes, 0);
    EXPECT_EQ(text, "ab");
    stack.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoStackTest, AMacroIsAGroupOfTheManager)
{
    UndoStack stack(manager);
    stack.beginMacro("both");
    EXPECT_EQ(manager.getOpenGroups().size(), 1U);
    stack.push(new Appending(text, "a"));
    manager.addCommand(std::make_shared<NativeAppending>(text, 'b'));
    EXPECT_FALSE(manager.undo(1)) << "nothing is undone meanwhile";
    stack.endMacro();
    EXPECT_EQ(manager.getQueueSize(), 1U);
    stack.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoStackTest, InAGroupOfOthersCommandsBecomePartsOfIt)
{
    UndoStack stack(manager);
    listen(stack);
    manager.beginGroup("theirs");
    stack.push(new Appending(text, "a", 1));
    stack.push(new Appending(text, "b", 1));
    EXPECT_EQ(takeTold(), "");
    EXPECT_FALSE(stack.canUndo());
    manager.endGroup();
    EXPECT_EQ(takeTold(), " index 1 dirty");
    stack.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoStackTest, NothingIsMergedAcrossACommandOfTheManagersOwn)
{
    UndoStack stack(manager);
    stack.beginMacro("macro");
    stack.push(new Appending(text, "a", 1));
    manager.addCommand(std::make_shared<NativeAppending>(text, 'b'));
    stack.push(new Appending(text, "cd", 1));
    stack.push(new Appending(text, "e", 1));
    stack.endMacro();
    const auto macro = std::dynamic_pointer_cast<const Valdane::MacroCommand>(manager.getUndoCommand());
    ASSERT_NE(macro, nullptr);
    EXPECT_EQ(macro->size(), 3U) << "a, b, and the last two in one";
    stack.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoStackTest, ACommandOutsideAGroupOfOthersTakesNothingIn)
{
    UndoStack stack(manager);
    stack.push(new Appending(text, "x", 1));
    manager.beginGroup("theirs");
    stack.push(new Appending(text, "y", 1));
    EXPECT_TRUE(manager.abandonGroup());
    EXPECT_EQ(text, "x");
    stack.clear();
    EXPECT_EQ(manager.getSavedPosition(0), 0U) << "the state is clean";

    text.clear();
    stack.beginMacro("macro");
    stack.push(new Appending(text, "a", 1));
    manager.beginGroup("theirs");
    stack.push(new Appending(text, "b", 1));
    stack.push(new Appending(text, "c", 1));
    EXPECT_TRUE(manager.abandonGroup());
    EXPECT_EQ(text, "a") << "what came after it is undone";
    stack.push(new Appending(text, "d", 1));
    stack.endMacro();
    EXPECT_EQ(text, "ad");
    stack.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoStackTest, AGroupAndItsStacksGoInAnyOrder)
{
    auto group = std::make_unique<UndoGroup>();
    auto* stack = new UndoStack(group.get());
    EXPECT_EQ(group->stacks().size(), 1) << "it is the child of its group";
    auto other = std::make_unique<UndoStack>();
    group->addStack(other.get());
    other->setActive();
    const std::unique_ptr<QAction> action(group->createUndoAction(nullptr));
    other->push(new Appending(text, "a"));
    EXPECT_EQ(action->text(), "Undo append a");
    EXPECT_FALSE(stack->isActive());
    other.reset();
    EXPECT_EQ(action->text(), "Undo");
    EXPECT_FALSE(action->isEnabled());
    stack->setActive();
    group.reset();
    EXPECT_FALSE(action->isEnabled());
}
