#include "Service/Editing/CommandGroup.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

class CommandGroupTest : public testing::Test
{
protected:
    std::shared_ptr<ScriptedCommand> add(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        command->onUndo = [this, name]
        {
            undone.push_back(name);
        };
        manager.addCommand(command);
        return command;
    }

    static void close(CommandGroup& group, bool isCommitted)
    {
        if (isCommitted)
        {
            group.commit();
        }
        else
        {
            EXPECT_TRUE(group.abandon());
        }
    }

    CommandManager manager;
    std::vector<std::string> undone;
    bool throws = false;
};

TEST_F(CommandGroupTest, CommittedItIsOneStep)
{
    {
        CommandGroup group(manager, "G");
        EXPECT_TRUE(group.isOpen());
        add("a");
        add("b");
        group.commit();
        EXPECT_FALSE(group.isOpen());
    }
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("G"));
    manager.undo(1);
    EXPECT_THAT(undone, ElementsAre("b", "a"));
}

TEST_F(CommandGroupTest, LeftByAnExceptionItIsUndone)
{
    add("before");
    try
    {
        const CommandGroup group(manager, "G");
        add("a");
        add("b");
        throw std::runtime_error("left");
    }
    catch (const std::runtime_error&)
    {
        EXPECT_THAT(undone, ElementsAre("b", "a"));
    }
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("before"));
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
}

TEST_F(CommandGroupTest, AbandonedItIsUndoneOnce)
{
    {
        CommandGroup group(manager, "G");
        add("a");
        EXPECT_TRUE(group.abandon());
        EXPECT_TRUE(group.abandon()) << "does nothing";
        group.commit();
    }
    EXPECT_THAT(undone, ElementsAre("a"));
    EXPECT_EQ(manager.getQueueSize(), 0U);
}

TEST_F(CommandGroupTest, ThoseInsideArePartsOfTheOneAround)
{
    {
        CommandGroup outer(manager, "outer");
        add("a");
        {
            CommandGroup inner(manager, "inner");
            add("b");
            inner.commit();
        }
        {
            const CommandGroup inner(manager, "dropped");
            add("c");
        }
        outer.commit();
    }
    EXPECT_THAT(undone, ElementsAre("c"));
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("outer"));
    manager.undo(1);
    EXPECT_THAT(undone, ElementsAre("c", "b", "a"));
}

TEST_F(CommandGroupTest, IsNotClosedBeforeAGroupInsideIt)
{
    CommandGroup outer(manager, "outer");
    manager.beginGroup("inner");
    add("a");
    EXPECT_EQ(messageOf([&] { outer.commit(); }),
              "The group 'outer' cannot be committed while the group 'inner' inside it is open");
    EXPECT_EQ(messageOf([&] { outer.abandon(); }),
              "The group 'outer' cannot be abandoned while the group 'inner' inside it is open");
    EXPECT_THAT(manager.getOpenGroups(), ElementsAre("outer", "inner"));
}

TEST_F(CommandGroupTest, TheEndOfTheScopeClosesGroupsInsideItToo)
{
    {
        const CommandGroup outer(manager, "outer");
        add("a");
        manager.beginGroup("inner");
        add("b");
    }
    EXPECT_THAT(undone, ElementsAre("b", "a"));
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
}

TEST_F(CommandGroupTest, WhatCannotBeUndoneAtTheEndOfTheScopeBecomesAStep)
{
    {
        CommandGroup group(manager, "G");
        add("a")->onUndo = []
        {
            throw std::runtime_error("stuck");
        };
        EXPECT_FALSE(group.abandon());
        EXPECT_TRUE(group.isOpen());
    }
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("G"));
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
}

TEST_F(CommandGroupTest, ASlotThatThrowsAtTheEndOfTheScopeDoesNotLeaveItOpen)
{
    const auto connection = manager.connectToSigCommandUndone([] { throw std::runtime_error("slot"); });
    {
        const CommandGroup group(manager, "G");
        add("a");
    }
    EXPECT_THAT(undone, ElementsAre("a"));
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
}

TEST_F(CommandGroupTest, ASlotThatThrowsAtItsBeginningDoesNotLeaveItOpen)
{
    const auto connection = manager.connectToSigOpenGroupsChanged(
        [&]
        {
            if (!manager.getOpenGroups().empty())
            {
                throw std::runtime_error("slot");
            }
        });
    EXPECT_THROW(CommandGroup(manager, "G"), std::runtime_error);
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
}

TEST_F(CommandGroupTest, IsRefusedWhileAThreadedCommandIsRunning)
{
    manager.getThreadManager()->setThreadingMode(0);
    const auto run = std::make_shared<ScriptedRun>("Fit");
    run->onRun = [&]
    {
        EXPECT_THROW(CommandGroup(manager, "G"), VdException);
    };
    manager.addThreadedCommand(run);
    EXPECT_EQ(manager.getUndoCommand(), run);
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
}

TEST_F(CommandGroupTest, ASlotThatThrowsForAGroupInsideDoesNotLeaveItOpenEither)
{
    const auto connection = manager.connectToSigCommandUndone([] { throw std::runtime_error("slot"); });
    {
        const CommandGroup outer(manager, "outer");
        add("a");
        manager.beginGroup("inner");
        add("b");
    }
    EXPECT_THAT(undone, ElementsAre("b", "a"));
    EXPECT_THAT(manager.getOpenGroups(), IsEmpty());
}

TEST_F(CommandGroupTest, ClosedItLeavesGroupsAloneThatAreOpenedLater)
{
    for (const bool isCommitted : {true, false})
    {
        {
            CommandGroup group(manager, "G");
            add("a");
            close(group, isCommitted);
            manager.beginGroup("later");
            EXPECT_FALSE(group.isOpen());
        }
        EXPECT_THAT(manager.getOpenGroups(), ElementsAre("later")) << isCommitted;
        manager.endGroup();
    }
}

TEST_F(CommandGroupTest, ClosedWithASlotThatThrowsItLeavesGroupsAloneThatAreOpenedLater)
{
    const auto throwOnce = [this]
    {
        if (std::exchange(throws, false))
        {
            throw std::runtime_error("slot");
        }
    };
    const auto slotOfUndo = manager.connectToSigCommandUndone(throwOnce);
    const auto slotOfQueue =
        manager.connectToSigCommandQueueChanged([&](CommandManager::QueueChangeReason) { throwOnce(); });
    for (const bool isCommitted : {true, false})
    {
        {
            CommandGroup group(manager, "G");
            add("a");
            throws = true;
            EXPECT_THROW(close(group, isCommitted), std::runtime_error);
            manager.beginGroup("later");
            EXPECT_FALSE(group.isOpen());
        }
        EXPECT_THAT(manager.getOpenGroups(), ElementsAre("later")) << isCommitted;
        manager.endGroup();
    }
}

TEST_F(CommandGroupTest, EndedThroughTheManagerItLeavesOthersAlone)
{
    add("before");
    {
        CommandGroup group(manager, "G");
        add("a");
        manager.endGroup();
        EXPECT_FALSE(group.isOpen());
        group.commit();
    }
    EXPECT_THAT(undone, IsEmpty());
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("G", "before"));
}

} // namespace
} // namespace Valdane
