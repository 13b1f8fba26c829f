#include "Service/Editing/MergePolicy.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <optional>
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

/// Appends letters, and cuts them off again.
class TypeCommand : public CommandBase
{
public:
    TypeCommand(std::string& textToEdit, std::string addedLetters)
        : CommandBase("Type " + addedLetters), text(textToEdit), letters(std::move(addedLetters))
    {
    }

    void execute() override
    {
        if (letters == "?")
        {
            fail();
        }
        text += letters;
    }

    void undo() override
    {
        text.resize(text.size() - letters.size());
    }

protected:
    std::string& text;
    std::string letters;
};

/// The same, and takes in the next one.
class GrowingTypeCommand : public TypeCommand, public MergeableCommand
{
public:
    using TypeCommand::TypeCommand;

    bool mergeWith(const CommandBase& next) override
    {
        if (onMerge)
        {
            onMerge();
        }
        const auto* const typed = dynamic_cast<const GrowingTypeCommand*>(&next);
        if (typed == nullptr)
        {
            return false;
        }
        letters += typed->letters;
        setDescription("Type " + letters);
        return true;
    }

    std::function<void()> onMerge;
};

class MergePolicyTest : public testing::Test
{
protected:
    MergePolicyTest()
    {
        usePolicy({});
    }

    void usePolicy(const MergePolicy::Limits& limits)
    {
        policy.emplace(manager, limits,
                       [this]
                       {
                           if (onClock)
                           {
                               onClock();
                           }
                           return now;
                       });
    }

    bool type(const std::string& letters, const std::string& key = "title")
    {
        return policy->add(std::make_shared<TypeCommand>(text, letters), key);
    }

    std::shared_ptr<ScriptedCommand> plain(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        manager.addCommand(command);
        return command;
    }

    void wait(int milliseconds)
    {
        now += std::chrono::milliseconds(milliseconds);
    }

    CommandManager manager;
    std::string text;
    std::chrono::steady_clock::time_point now;
    std::function<void()> onClock;
    std::optional<MergePolicy> policy;
};

TEST_F(MergePolicyTest, CommandsWithTheSameKeyAreOneStep)
{
    EXPECT_TRUE(type("p"));
    EXPECT_TRUE(type("u"));
    EXPECT_TRUE(type("mp"));
    EXPECT_EQ(text, "pump");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type p"));
    manager.undo(1);
    EXPECT_EQ(text, "");
    manager.redo(1);
    EXPECT_EQ(text, "pump");
    EXPECT_EQ(dynamic_cast<const MacroCommand&>(*manager.getUndoCommand()).size(), 3U);
}

TEST_F(MergePolicyTest, AnEmptyKeyNeverMerges)
{
    type("a", "");
    type("b", "");
    EXPECT_EQ(manager.getQueueSize(), 2U);
    EXPECT_NE(dynamic_cast<const TypeCommand*>(manager.getUndoCommand().get()), nullptr)
        << "it is as it was given";
    type("c");
    type("d", "");
    type("e");
    EXPECT_EQ(manager.getQueueSize(), 5U);
}

TEST_F(MergePolicyTest, AnotherKeyEndsTheStep)
{
    type("a", "title");
    type("b", "body");
    type("c", "title");
    type("d", "title");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type c", "Type b", "Type a"));
}

TEST_F(MergePolicyTest, APauseEndsTheStep)
{
    type("a");
    wait(1000);
    type("b");
    wait(1000);
    type("c");
    EXPECT_EQ(manager.getQueueSize(), 1U) << "each pause counts for itself";
    wait(1001);
    type("d");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, ThePauseBeginsWhenTheCommandHasEnded)
{
    const auto slow = [this]
    {
        wait(5000);
    };
    for (const char* const name : {"a", "b"})
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        command->onExecute = slow;
        policy->add(command, "drag");
    }
    EXPECT_EQ(manager.getQueueSize(), 1U);
}

TEST_F(MergePolicyTest, AStepHasAtMostSoManyCommands)
{
    usePolicy({.pause = std::chrono::seconds(1), .commands = 2});
    type("a");
    type("b");
    type("c");
    type("d");
    type("e");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type e", "Type c", "Type a"));
    for (const std::size_t commands : {0U, 1U})
    {
        manager.clear();
        usePolicy({.pause = std::chrono::seconds(1), .commands = commands});
        type("a");
        type("b");
        EXPECT_EQ(manager.getQueueSize(), 2U);
    }
}

TEST_F(MergePolicyTest, ACommandThatWasTakenInCountsForTheStep)
{
    usePolicy({.pause = std::chrono::seconds(1), .commands = 2});
    for (const char* const letters : {"a", "b", "c"})
    {
        policy->add(std::make_shared<GrowingTypeCommand>(text, letters), "title");
    }
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type c", "Type ab"));
}

TEST_F(MergePolicyTest, AStepHasTheDescriptionOfTheFirstCommandThatHasOne)
{
    for (const char* const name : {"", "Move", "Turn"})
    {
        policy->add(std::make_shared<ScriptedCommand>(name), "drag");
    }
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Move"));
}

TEST_F(MergePolicyTest, ASaveEndsTheStep)
{
    type("a");
    manager.adjustOnSave(1);
    type("b");
    type("c");
    EXPECT_EQ(manager.getQueueSize(), 2U);
    manager.undo(1);
    EXPECT_EQ(manager.getSavedPosition(1), 1U);
    EXPECT_EQ(text, "a");
}

TEST_F(MergePolicyTest, AnUndoEndsTheStepAlsoWhenItIsRedone)
{
    type("a");
    manager.undo(1);
    manager.redo(1);
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
    manager.undo(1);
    type("c");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type c", "Type a"));
}

TEST_F(MergePolicyTest, ARedoEndsTheStepAlsoIfASlotHasHiddenTheUndo)
{
    policy.reset();
    bool throws = true;
    const auto earlier = manager.connectToSigHistoryChanged(
        [&](const HistoryChange& change)
        {
            if (throws && change.positionAfter < change.positionBefore)
            {
                fail();
            }
        });
    usePolicy({});
    type("a");
    EXPECT_THROW(manager.undo(1), std::runtime_error);
    throws = false;
    manager.redo(1);
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, AnotherCommandEndsTheStepAlsoWhenItIsGone)
{
    type("a");
    plain("x");
    manager.undo(1);
    manager.forgetRedoCommands();
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
    plain("y");
    manager.takeLastExecutedCommand();
    type("c");
    EXPECT_EQ(manager.getQueueSize(), 3U);
}

TEST_F(MergePolicyTest, EndStepEndsTheStep)
{
    type("a");
    policy->endStep();
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, EndStepOutOfASlotEndsTheStepToo)
{
    const auto ending = manager.connectToSigCommandExecuted([this] { policy->endStep(); });
    type("a");
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, InAGroupCommandsAreOneStepOfIt)
{
    type("before");
    manager.adjustOnSave(0);
    manager.beginGroup("G");
    type("a");
    type("b");
    plain("x");
    type("c");
    manager.endGroup();
    type("d");
    ASSERT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type d", "G", "Type before"));
    EXPECT_EQ(dynamic_cast<const MacroCommand&>(*manager.getCommand(1)).size(), 3U);
    manager.undo(2);
    EXPECT_EQ(text, "before");
}

TEST_F(MergePolicyTest, AGroupThatWasAbandonedLeavesTheStepBeforeAlone)
{
    type("a");
    manager.beginGroup("G");
    type("b");
    manager.abandonGroup();
    type("c");
    EXPECT_EQ(text, "ac");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, AGroupThatWasAbandonedEndsTheStepAlsoIfItHadNoneOfIt)
{
    type("a");
    manager.beginGroup("G");
    plain("x");
    manager.abandonGroup();
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, AnEmptyGroupDoesNotEndTheStep)
{
    type("a");
    manager.beginGroup("G");
    manager.endGroup();
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 1U);
}

TEST_F(MergePolicyTest, WhatLeavesTheHistoryDoesNotEndTheStep)
{
    plain("x");
    manager.undo(1);
    manager.beginGroup("G");
    type("a");
    manager.forgetRedoCommands();
    type("b");
    manager.endGroup();
    EXPECT_EQ(dynamic_cast<const MacroCommand&>(*manager.getUndoCommand()).size(), 1U);
}

TEST_F(MergePolicyTest, TheLimitDropsNothingForACommandThatMerges)
{
    manager.setMaxQueueSize(2);
    manager.setUsesMaxQueueSize(true);
    plain("x");
    type("a");
    type("b");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type a", "x"));
    manager.setMaxQueueSize(1);
    type("c");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type a")) << "the same step";
    manager.undo(1);
    EXPECT_EQ(text, "");
}

TEST_F(MergePolicyTest, ACommandThatTakesInTheNextDoesSo)
{
    for (const char* const letters : {"p", "u", "mp"})
    {
        policy->add(std::make_shared<GrowingTypeCommand>(text, letters), "title");
    }
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type pump"));
    EXPECT_EQ(dynamic_cast<const MacroCommand&>(*manager.getUndoCommand()).size(), 1U);
    type("s");
    EXPECT_EQ(dynamic_cast<const MacroCommand&>(*manager.getUndoCommand()).size(), 2U);
    manager.undo(1);
    EXPECT_EQ(text, "");
}

TEST_F(MergePolicyTest, TwoPoliciesDoNotMixTheirSteps)
{
    MergePolicy other(manager, {}, [this] { return now; });
    type("a");
    other.add(std::make_shared<TypeCommand>(text, "b"), "title");
    type("c");
    EXPECT_EQ(manager.getQueueSize(), 3U);
}

TEST_F(MergePolicyTest, StepsWorkWhenThePolicyIsGone)
{
    type("a");
    type("b");
    policy.reset();
    manager.undo(1);
    EXPECT_EQ(text, "");
}

TEST_F(MergePolicyTest, SignalsAreThoseOfOneCommand)
{
    type("a");
    std::vector<std::string> told;
    const auto queueChanged = manager.connectToSigCommandQueueChanged(
        [&](CommandManager::QueueChangeReason) { told.emplace_back("queue changed"); });
    const auto executed = manager.connectToSigCommandExecuted([&] { told.emplace_back("executed"); });
    type("b");
    EXPECT_THAT(told, ElementsAre("queue changed", "executed"));
}

TEST_F(MergePolicyTest, ACommandThatFailsLeavesTheStepAsItWas)
{
    type("a");
    EXPECT_FALSE(type("?"));
    EXPECT_TRUE(type("b"));
    EXPECT_EQ(manager.getQueueSize(), 1U);
    EXPECT_EQ(text, "ab");
    EXPECT_FALSE(policy->add(nullptr, "title"));
    EXPECT_FALSE(policy->add(nullptr, ""));
}

TEST_F(MergePolicyTest, ACommandWithAnotherKeyEndsTheStepAlsoIfItFails)
{
    type("a");
    EXPECT_FALSE(type("?", "body"));
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
    EXPECT_FALSE(type("?", ""));
    type("c");
    EXPECT_EQ(manager.getQueueSize(), 3U);
}

TEST_F(MergePolicyTest, ACommandThatFailsDoesNotCutThePauseInTwo)
{
    type("a");
    wait(600);
    EXPECT_FALSE(type("?"));
    wait(600);
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, WhatIsNoStandardExceptionPassesAndEndsTheStep)
{
    type("a");
    auto strange = std::make_shared<ScriptedCommand>("strange");
    strange->onExecute = failStrangely;
    EXPECT_THROW(policy->add(strange, "title"), Stranger);
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, IfTheMergeThrowsBothStay)
{
    const auto growing = std::make_shared<GrowingTypeCommand>(text, "a");
    policy->add(growing, "title");
    growing->onMerge = fail;
    EXPECT_TRUE(type("b"));
    EXPECT_EQ(manager.getQueueSize(), 2U);
    policy->add(growing, "other");
    growing->onMerge = failStrangely;
    EXPECT_THROW(type("c", "other"), Stranger);
    EXPECT_EQ(manager.getQueueSize(), 4U);
    EXPECT_EQ(text, "abac");
}

TEST_F(MergePolicyTest, WhatASlotThrowsPassesAndEndsTheStep)
{
    type("a");
    {
        const auto throwing = manager.connectToSigCommandExecuted([] { fail(); });
        EXPECT_THROW(type("b"), std::runtime_error);
    }
    EXPECT_EQ(manager.getQueueSize(), 1U) << "it was merged before";
    type("c");
    EXPECT_EQ(manager.getQueueSize(), 2U);
    EXPECT_EQ(text, "abc");
}

TEST_F(MergePolicyTest, AClockThatThrowsBeforeTheCommandChangesNothing)
{
    type("a");
    onClock = fail;
    EXPECT_THROW(type("b"), std::runtime_error);
    EXPECT_EQ(text, "a");
    onClock = nullptr;
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 1U);
}

TEST_F(MergePolicyTest, AClockThatThrowsAfterTheCommandEndsTheStep)
{
    type("a");
    int asked = 0;
    onClock = [&]
    {
        if (++asked == 2)
        {
            failStrangely();
        }
    };
    EXPECT_THROW(type("b"), Stranger);
    EXPECT_EQ(text, "ab");
    type("c");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, WhatASlotAddsIsNotTakenForTheStep)
{
    type("a");
    bool isFirst = true;
    const auto adding = manager.connectToSigCommandExecuted(
        [&]
        {
            if (std::exchange(isFirst, false))
            {
                plain("x");
            }
        });
    type("b");
    type("c");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("Type c", "x", "Type a"));
}

TEST_F(MergePolicyTest, ASlotThatUndoesAndRedoesEndsTheStep)
{
    bool isFirst = true;
    const auto undoing = manager.connectToSigCommandQueueChanged(
        [&](CommandManager::QueueChangeReason)
        {
            if (std::exchange(isFirst, false))
            {
                manager.undo(1);
                manager.redo(1);
            }
        });
    type("a");
    type("b");
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, ACommandMayAddOthersToThePolicy)
{
    type("a");
    auto outer = std::make_shared<ScriptedCommand>("outer");
    outer->onExecute = [this]
    {
        type("b");
        type("c");
    };
    policy->add(outer, "title");
    EXPECT_THAT(manager.collectUndoCommandDescriptions(), ElementsAre("outer", "Type b", "Type a"));
    type("d");
    EXPECT_EQ(manager.getQueueSize(), 4U);
}

TEST_F(MergePolicyTest, ACommandAndASlotMayDestroyThePolicy)
{
    auto destroying = std::make_shared<ScriptedCommand>("destroying");
    destroying->onExecute = [this]
    {
        policy.reset();
    };
    EXPECT_TRUE(policy->add(destroying, "title"));
    usePolicy({});
    const auto slot = manager.connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason)
                                                              { policy.reset(); });
    EXPECT_TRUE(type("a"));
    EXPECT_FALSE(policy.has_value());
    EXPECT_EQ(manager.getQueueSize(), 2U);
}

TEST_F(MergePolicyTest, WithoutMemoryNoCommandIsLost)
{
    std::size_t successes = 0;
    for (bool hasFailed = true; hasFailed; ++successes)
    {
        text.clear();
        text.reserve(16);
        manager.clear();
        usePolicy({});
        type("a");
        const auto command = std::make_shared<TypeCommand>(text, "b");
        const std::string key = "title";
        {
            const FailingAllocation failing(successes);
            try
            {
                policy->add(command, key);
            }
            catch (const std::bad_alloc&)
            {
                EXPECT_TRUE(failing.hasFailed());
            }
            hasFailed = failing.hasFailed();
        }
        manager.undoAll();
        EXPECT_EQ(text, "") << successes;
        manager.redoAll();
        EXPECT_THAT(text, testing::AnyOf("a", "ab")) << successes;
    }
    EXPECT_GT(successes, 2U);
    EXPECT_EQ(manager.getQueueSize(), 1U);
}

TEST_F(MergePolicyTest, AnEmptyClockIsRefused)
{
    EXPECT_EQ(messageOf([&] { MergePolicy(manager, {}, MergePolicy::Clock()); }),
              "A MergePolicy needs a clock; leave the argument out for the steady clock");
}

} // namespace
} // namespace Valdane
