// Each nested macro destroyed its sub-commands within its own destructor, so that a chain of some 140,000 nested
// macros overflowed a stack of 8 MiB when it was dropped, although it could be built.

#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/SmallStack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

template <typename Macro>
std::shared_ptr<MacroCommand> makeChain(int depth)
{
    std::shared_ptr<MacroCommand> chain = std::make_shared<Macro>("innermost");
    for (int level = 1; level < depth; ++level)
    {
        auto outer = std::make_shared<Macro>("nested");
        outer->addCommand(std::move(chain));
        chain = std::move(outer);
    }
    return chain;
}

TEST(NestedMacrosDieInConstantStack, HoweverManyThereAre)
{
    runOnSmallStack(
        []
        {
            makeChain<MacroCommand>(200'000).reset();
            makeChain<ThreadedMacroCommand>(200'000).reset();
            makeChain<MacroCommand>(200'000)->clear();
        });
}

class NamedMacro : public MacroCommand
{
public:
    NamedMacro(std::string name, std::vector<std::string>& lastWords)
        : MacroCommand(std::move(name)), words(lastWords)
    {
    }

    NamedMacro(const NamedMacro&) = delete;
    NamedMacro& operator=(const NamedMacro&) = delete;

    ~NamedMacro() override
    {
        words.push_back(getDescription() + " of " + std::to_string(size()));
        // One that is destroyed while another one is takes no part in that.
        other.reset();
    }

    std::shared_ptr<MacroCommand> other;

private:
    std::vector<std::string>& words;
};

class NestedMacrosDieInOrder : public testing::Test
{
protected:
    std::shared_ptr<NamedMacro> macro(const std::string& name)
    {
        return std::make_shared<NamedMacro>(name, words);
    }

    std::shared_ptr<CommandBase> command(const std::string& name)
    {
        auto made = std::make_shared<ScriptedCommand>(name);
        made->onDestroy = [this, name]
        {
            words.push_back(name);
        };
        return made;
    }

    std::vector<std::string> words;
};

TEST_F(NestedMacrosDieInOrder, EachBeforeItsSubCommandsAndTheseFirstToLast)
{
    auto outer = macro("outer");
    auto inner = macro("inner");
    inner->addCommand(command("b"));
    inner->addCommand(command("c"));
    outer->addCommand(command("a"));
    outer->addCommand(std::move(inner));
    outer->addCommand(command("d"));

    outer.reset();

    EXPECT_THAT(words, ElementsAre("outer of 3", "a", "inner of 2", "b", "c", "d"));
}

TEST_F(NestedMacrosDieInOrder, OneThatADestructorDropsIsGoneWhenThatGoesOn)
{
    auto outer = macro("outer");
    auto inner = macro("inner");
    inner->addCommand(command("b"));
    inner->other = macro("other");
    inner->other->addCommand(command("x"));
    outer->addCommand(std::move(inner));
    outer->addCommand(command("c"));

    outer.reset();

    EXPECT_THAT(words, ElementsAre("outer of 2", "inner of 1", "other of 1", "x", "b", "c"));
}

TEST_F(NestedMacrosDieInOrder, OneThatSomebodyElseHoldsKeepsItsSubCommands)
{
    auto outer = macro("outer");
    auto inner = macro("inner");
    inner->addCommand(command("b"));
    outer->addCommand(inner);

    outer.reset();
    EXPECT_THAT(words, ElementsAre("outer of 1"));

    inner.reset();
    EXPECT_THAT(words, ElementsAre("outer of 1", "inner of 1", "b"));
}

} // namespace
} // namespace Valdane
