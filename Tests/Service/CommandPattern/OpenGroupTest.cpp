#include "Service/CommandPattern/OpenGroup.h"

#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

std::shared_ptr<CommandBase> make(const std::string& name)
{
    return std::make_shared<ScriptedCommand>(name);
}

/// The name of a command, or that of a macro with those of its parts.
std::string textOf(const CommandBase& command)
{
    const auto* const macro = dynamic_cast<const MacroCommand*>(&command);
    if (macro == nullptr)
    {
        return command.getDescription();
    }
    std::string text = macro->getDescription() + (macro->getUseForwardUndoOrder() ? " forward (" : "(");
    for (const auto& part : *macro)
    {
        text += textOf(*part) + " ";
    }
    return text + ")";
}

std::string textOf(const OpenGroup& group)
{
    return textOf(*group.makeMacro());
}

class OpenGroupTest : public testing::Test
{
protected:
    void letWait(const std::string& name, std::uint64_t number)
    {
        group.waiting.commands.push_back(make(name));
        group.waiting.newest = number;
    }

    OpenGroup group{"G"};
};

TEST_F(OpenGroupTest, IsEmptyAtFirst)
{
    EXPECT_TRUE(group.isEmpty());
    EXPECT_EQ(group.getDescription(), "G");
    EXPECT_EQ(group.newestCommand(), nullptr);
    EXPECT_EQ(group.newestCommand().use_count(), 0) << "nor does it share anything";
    EXPECT_EQ(group.newestNumber(), 0U);
    EXPECT_EQ(textOf(group), "G()");
}

TEST_F(OpenGroupTest, HasItsCommandsInTheOrderInWhichTheyCame)
{
    group.append(make("a"), 3);
    const auto newest = make("b");
    group.append(newest, 4);
    EXPECT_FALSE(group.isEmpty());
    EXPECT_EQ(group.newestCommand(), newest);
    EXPECT_EQ(group.newestNumber(), 4U);
    EXPECT_EQ(textOf(group), "G(a b )");
    EXPECT_EQ(textOf(group), "G(a b )") << "to make a macro changes nothing";
}

TEST_F(OpenGroupTest, AMergeGivesItANewNumber)
{
    group.append(make("a"), 3);
    group.noteMerge(5);
    EXPECT_EQ(group.newestNumber(), 5U);
    EXPECT_EQ(textOf(group), "G(a )");
}

TEST_F(OpenGroupTest, WhatWaitsIsMergedIntoTheNextCommand)
{
    group.append(make("a"), 1);
    letWait("m", 2);
    letWait("n", 3);
    group.waiting.useForwardUndoOrder = true;
    EXPECT_EQ(group.newestNumber(), 3U);
    group.append(make("b"), 4);
    EXPECT_EQ(textOf(group), "G(a b forward (b m n ) )");
    EXPECT_EQ(group.newestNumber(), 4U);

    group.append(make("c"), 5);
    EXPECT_EQ(textOf(group), "G(a b forward (b m n ) c )") << "nothing waits any more";
}

TEST_F(OpenGroupTest, WhatWaitsStillIsPartOfIt)
{
    letWait("m", 2);
    EXPECT_FALSE(group.isEmpty());
    EXPECT_EQ(group.newestCommand(), nullptr);
    EXPECT_EQ(group.newestNumber(), 2U);
    EXPECT_EQ(textOf(group), "G(m )");
    EXPECT_FALSE(group.waiting.commands.empty());
}

/// Has something done when it is first asked for its description.
class AskedCommand : public ScriptedCommand
{
public:
    using ScriptedCommand::ScriptedCommand;

    const std::string& getDescription() const override
    {
        if (const auto action = std::exchange(whenAsked, nullptr))
        {
            action();
        }
        return ScriptedCommand::getDescription();
    }

    mutable std::function<void()> whenAsked;
};

TEST_F(OpenGroupTest, ACommandMayAddAnotherWhenItIsAskedForItsDescription)
{
    letWait("m", 2);
    const auto asked = std::make_shared<AskedCommand>("a");
    asked->whenAsked = [this]
    {
        group.append(make("b"), 3);
    };
    group.append(asked, 4);
    EXPECT_EQ(textOf(group), "G(b(b m ) a(a ) )");
    EXPECT_EQ(group.newestNumber(), 4U);
}

TEST_F(OpenGroupTest, WhatIsReservedSufficesForTheNextCommand)
{
    const auto first = make("a");
    {
        const FailingAllocation failing(0);
        EXPECT_THROW(group.reserveOne(), std::bad_alloc);
    }
    {
        const FailingAllocation failing(0);
        EXPECT_THROW(group.append(first, 1), std::bad_alloc);
    }
    EXPECT_TRUE(group.isEmpty());

    group.reserveOne();
    {
        const FailingAllocation failing(0);
        group.reserveOne();
        group.append(first, 1);
    }
    EXPECT_EQ(textOf(group), "G(a )");
}

TEST_F(OpenGroupTest, WithoutMemoryForAMergeNothingChanges)
{
    group.append(make("a"), 1);
    letWait("m", 2);
    const auto next = make("b");
    std::size_t failures = 0;
    for (bool isDone = false; !isDone;)
    {
        try
        {
            const FailingAllocation failing(failures);
            group.append(next, 3);
            isDone = true;
        }
        catch (const std::bad_alloc&)
        {
            ++failures;
            ASSERT_EQ(group.newestNumber(), 2U);
            ASSERT_EQ(textOf(group), "G(a m )");
        }
    }
    EXPECT_GE(failures, 3U) << "a macro and two places in it";
    EXPECT_EQ(textOf(group), "G(a b(b m ) )");
}

class ClosedGroupTest : public testing::Test
{
protected:
    ClosedGroupTest()
    {
        groups.emplace_back("outer");
        groups.emplace_back("inner");
    }

    std::vector<std::string> descriptions() const
    {
        std::vector<std::string> texts;
        for (const OpenGroup& group : groups)
        {
            texts.push_back(group.getDescription());
        }
        return texts;
    }

    std::list<OpenGroup> groups;
};

TEST_F(ClosedGroupTest, TheInnermostGroupIsOutOfTheListAndComesBack)
{
    const OpenGroup* const inner = &groups.back();
    {
        const ClosedGroup closed(groups);
        EXPECT_EQ(closed.operator->(), inner);
        EXPECT_THAT(descriptions(), ElementsAre("outer"));
    }
    EXPECT_THAT(descriptions(), ElementsAre("outer", "inner"));
    EXPECT_EQ(&groups.back(), inner);
}

TEST_F(ClosedGroupTest, KeptClosedItDoesNotComeBack)
{
    {
        ClosedGroup closed(groups);
        closed.keepClosed();
        closed.reopenUnlessKept();
        EXPECT_THAT(descriptions(), ElementsAre("outer"));
    }
    EXPECT_THAT(descriptions(), ElementsAre("outer"));
}

TEST_F(ClosedGroupTest, ItComesBackOnce)
{
    {
        ClosedGroup closed(groups);
        closed.reopenUnlessKept();
        EXPECT_THAT(descriptions(), ElementsAre("outer", "inner"));
    }
    EXPECT_THAT(descriptions(), ElementsAre("outer", "inner"));
}

TEST_F(ClosedGroupTest, ItComesBackBeforeGroupsThatWereOpenedMeanwhile)
{
    {
        const ClosedGroup closed(groups);
        groups.emplace_back("further");
    }
    EXPECT_THAT(descriptions(), ElementsAre("outer", "inner", "further"));
}

TEST_F(ClosedGroupTest, ItComesBackAlsoIfTheGroupAroundItWasClosedMeanwhile)
{
    {
        const ClosedGroup closed(groups);
        groups.clear();
    }
    EXPECT_THAT(descriptions(), ElementsAre("inner"));
}

} // namespace
} // namespace Valdane
