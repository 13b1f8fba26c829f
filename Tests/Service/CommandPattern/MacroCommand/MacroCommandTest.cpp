#include "Service/CommandPattern/MacroCommand.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

static_assert(!std::is_copy_constructible_v<MacroCommand>);
static_assert(!std::is_copy_assignable_v<MacroCommand>);
static_assert(std::is_nothrow_move_constructible_v<MacroCommand>);
static_assert(std::is_nothrow_move_assignable_v<MacroCommand>);
static_assert(std::is_same_v<decltype(&MacroCommand::size), unsigned long long (MacroCommand::*)() const>);

constexpr double whole = LegacyProgress::FullRange;

class CallbackCommand : public CommandBase
{
public:
    explicit CallbackCommand(std::function<void()> work = [] {}) : onRun(std::move(work)) {}

    void execute() override
    {
        onRun();
    }

    void undo() override
    {
        onRun();
    }

private:
    std::function<void()> onRun;
};

/// Appends a number to a list, and takes it away again if it is the last one.
class AppendCmd : public CommandBase
{
public:
    AppendCmd(std::vector<int>& numbers, int number)
        : CommandBase("Append " + std::to_string(number)), list(numbers), value(number)
    {
    }

    void execute() override
    {
        throwIf(failsToExecute);
        list.push_back(value);
    }

    void undo() override
    {
        throwIf(failsToUndo);
        if (list.empty() || list.back() != value)
        {
            throw std::logic_error("not in the order of execution");
        }
        list.pop_back();
    }

    bool failsToExecute = false;
    bool failsToUndo = false;

private:
    static void throwIf(bool fails)
    {
        if (fails)
        {
            throw std::runtime_error("refused");
        }
    }

    std::vector<int>& list;
    int value;
};

class MacroOfNumbers : public testing::Test
{
protected:
    MacroOfNumbers()
    {
        for (int number = 1; number <= 4; ++number)
        {
            parts.push_back(std::make_shared<AppendCmd>(numbers, number));
            macro->addCommand(parts.back());
        }
    }

    std::vector<int> numbers;
    std::vector<std::shared_ptr<AppendCmd>> parts;
    std::shared_ptr<MacroCommand> macro = std::make_shared<MacroCommand>("Append all");
    CommandManager manager;
};

TEST_F(MacroOfNumbers, IsOneEntryOfTheHistory)
{
    EXPECT_TRUE(manager.addCommand(macro));
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(manager.getQueueSize(), 1U);
    EXPECT_TRUE(manager.undo(1));
    EXPECT_THAT(numbers, IsEmpty());
    EXPECT_TRUE(manager.redo(1));
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 4));
}

TEST_F(MacroOfNumbers, ThatFailsAnywhereLeavesTheDataAsItFoundThem)
{
    numbers = {7};
    for (const auto& part : parts)
    {
        part->failsToExecute = true;
        EXPECT_FALSE(manager.addCommand(macro));
        EXPECT_THAT(numbers, ElementsAre(7));
        EXPECT_FALSE(manager.canUndo());
        part->failsToExecute = false;
    }
}

TEST_F(MacroOfNumbers, WhoseUndoFailsIsStillExecutedAsAWhole)
{
    EXPECT_TRUE(manager.addCommand(macro));
    for (const auto& part : parts)
    {
        part->failsToUndo = true;
        EXPECT_FALSE(manager.undo(1));
        EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 4));
        part->failsToUndo = false;
    }
    EXPECT_TRUE(manager.undo(1));
    EXPECT_THAT(numbers, IsEmpty());
}

TEST_F(MacroOfNumbers, WhoseRedoFailsIsStillUndoneAsAWhole)
{
    EXPECT_TRUE(manager.addCommand(macro));
    manager.undo(1);
    for (const auto& part : parts)
    {
        part->failsToExecute = true;
        EXPECT_FALSE(manager.redo(1));
        EXPECT_THAT(numbers, IsEmpty());
        part->failsToExecute = false;
    }
    EXPECT_TRUE(manager.redo(1));
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 4));
}

TEST_F(MacroOfNumbers, ThatGrowsWhileItExecutesRollsAllBackWhenOneFails)
{
    MacroCommand growing;
    growing.executeAndAdd(parts[0]);
    growing.executeAndAdd(parts[1]);
    EXPECT_THAT(numbers, ElementsAre(1, 2));
    parts[2]->failsToExecute = true;

    EXPECT_THROW(growing.executeAndAdd(parts[2]), std::runtime_error);

    EXPECT_THAT(numbers, IsEmpty());
    EXPECT_EQ(growing.size(), 2U);
    growing.redo();
    EXPECT_THAT(numbers, ElementsAre(1, 2));
}

class MacroList : public testing::Test
{
protected:
    static std::shared_ptr<CommandBase> make(const std::string& description = "")
    {
        auto command = std::make_shared<CallbackCommand>();
        command->setDescription(description);
        return command;
    }

    static std::vector<std::shared_ptr<CommandBase>> listOf(const MacroCommand& macro)
    {
        return {macro.begin(), macro.end()};
    }

    std::shared_ptr<CommandBase> a = make();
    std::shared_ptr<CommandBase> b = make("b");
    std::shared_ptr<CommandBase> c = make("c");
    MacroCommand macro;
};

TEST_F(MacroList, IsKeptInTheOrderOfExecution)
{
    EXPECT_TRUE(macro.empty());
    EXPECT_EQ(macro.size(), 0U);
    macro.addCommand(b);
    macro.addCommandToFront(a);
    macro.addCommands({c, nullptr, a});
    macro.addCommands({});
    EXPECT_THAT(listOf(macro), ElementsAre(a, b, c, nullptr, a));
    EXPECT_FALSE(macro.empty());
    EXPECT_EQ(macro.size(), 5U);
    macro.removeLastCommand();
    macro.removeLastCommand();
    EXPECT_THAT(listOf(macro), ElementsAre(a, b, c));
    macro.clear();
    EXPECT_TRUE(macro.empty());
    macro.removeLastCommand();
    EXPECT_TRUE(macro.empty());
}

TEST_F(MacroList, IgnoresEmptyCommands)
{
    macro.addCommand(nullptr);
    macro.addCommandToFront(nullptr);
    macro.executeAndAdd(nullptr);
    EXPECT_EQ(macro.size(), 0U);
}

TEST_F(MacroList, HasAFirstAndALastCommandUnlessItIsEmpty)
{
    const MacroCommand& constant = macro;
    EXPECT_EQ(macro.getFirstCommand(), nullptr);
    EXPECT_EQ(macro.getLastCommand(), nullptr);
    EXPECT_EQ(constant.getFirstCommand(), nullptr);
    EXPECT_EQ(constant.getLastCommand(), nullptr);
    macro.addCommands({a, b});
    EXPECT_EQ(macro.getFirstCommand(), a);
    EXPECT_EQ(macro.getLastCommand(), b);
    EXPECT_EQ(constant.getFirstCommand(), a);
    EXPECT_EQ(constant.getLastCommand(), b);
    static_assert(std::is_same_v<decltype(constant.getFirstCommand()), std::shared_ptr<const CommandBase>>);
    static_assert(std::is_same_v<decltype(constant.getLastCommand()), std::shared_ptr<const CommandBase>>);
}

TEST_F(MacroList, ThatIsEmptyHasNeitherInTheOtherUndoOrder)
{
    const MacroCommand& constant = macro;
    macro.setUseForwardUndoOrder(true);
    EXPECT_EQ(macro.getFirstCommand(), nullptr);
    EXPECT_EQ(macro.getLastCommand(), nullptr);
    EXPECT_EQ(constant.getFirstCommand(), nullptr);
    EXPECT_EQ(constant.getLastCommand(), nullptr);
}

TEST_F(MacroList, OfAConstructorIsKeptAsItIs)
{
    const MacroCommand made(std::list<std::shared_ptr<CommandBase>>{a, nullptr, b});
    EXPECT_THAT(listOf(made), ElementsAre(a, nullptr, b));
    EXPECT_FALSE(made.getUseForwardUndoOrder());
    const MacroCommand described("text");
    EXPECT_TRUE(described.empty());
    EXPECT_EQ(described.getDescription(), "text");
    EXPECT_FALSE(described.getUseForwardUndoOrder());
    EXPECT_FALSE(macro.getUseForwardUndoOrder());
}

TEST_F(MacroList, OfOneIsNotWrapped)
{
    EXPECT_EQ(MacroCommand::getOrCreateSingleCommand({}), nullptr);
    EXPECT_EQ(MacroCommand::getOrCreateSingleCommand({a}), a);
    const auto wrapped =
        std::dynamic_pointer_cast<MacroCommand>(MacroCommand::getOrCreateSingleCommand({a, b}));
    ASSERT_NE(wrapped, nullptr);
    EXPECT_THAT(listOf(*wrapped), ElementsAre(a, b));
    EXPECT_EQ(wrapped->CommandBase::getDescription(), "");
}

TEST_F(MacroList, GivesItsFirstDescriptionWhereTheMacroHasNone)
{
    EXPECT_EQ(macro.getDescription(), "");
    macro.addCommand(a);
    EXPECT_EQ(macro.getDescription(), "");
    macro.addCommand(b);
    macro.addCommand(c);
    EXPECT_EQ(macro.getDescription(), "b");
    EXPECT_EQ(macro.getLogDescription(), "Valdane::MacroCommand");
    const auto outer = std::make_shared<MacroCommand>();
    outer->addCommand(std::make_shared<MacroCommand>(std::move(macro)));
    EXPECT_EQ(outer->getDescription(), "b");
    outer->setDescription("own");
    EXPECT_EQ(outer->getDescription(), "own");
    EXPECT_EQ(outer->getLogDescription(), "own");
}

TEST_F(MacroList, MovesWithTheMacro)
{
    macro.addCommands({a, b});
    macro.setUseForwardUndoOrder(true);
    macro.setDescription("text");
    const auto progress = macro.getProgress();

    MacroCommand moved(std::move(macro));
    EXPECT_THAT(listOf(moved), ElementsAre(a, b));
    EXPECT_TRUE(moved.getUseForwardUndoOrder());
    EXPECT_EQ(moved.getDescription(), "text");
    EXPECT_EQ(moved.getProgress(), progress);

    MacroCommand assigned;
    assigned.addCommand(c);
    assigned = std::move(moved);
    EXPECT_THAT(listOf(assigned), ElementsAre(a, b));
    EXPECT_TRUE(assigned.getUseForwardUndoOrder());
    EXPECT_EQ(assigned.getProgress(), progress);
    assigned.execute();
    EXPECT_EQ(progress->progress(), whole);
}

class MacroProgress : public testing::Test
{
protected:
    /// A sub-command that notes where @p watched stands when it runs.
    std::shared_ptr<CommandBase>
    makeWatching(LegacyProgress& watched, LegacyProgress::Speed::Rate rate = LegacyProgress::Speed::Normal)
    {
        auto command =
            std::make_shared<CallbackCommand>([this, &watched] { positions.push_back(watched.fraction()); });
        command->setSpeedRate(rate);
        return command;
    }

    std::shared_ptr<MacroCommand> macro = std::make_shared<MacroCommand>("macro");
    LegacyProgress& progress = *macro->getProgressPtr();
    std::vector<double> positions;
};

TEST_F(MacroProgress, MovesByEqualPartsForCommandsOfOneSpeed)
{
    for (int i = 0; i < 4; ++i)
    {
        macro->addCommand(makeWatching(progress));
    }
    for (const auto operation : {&MacroCommand::execute, &MacroCommand::undo, &MacroCommand::redo})
    {
        positions.clear();
        (*macro.*operation)();
        EXPECT_THAT(positions, ElementsAre(0.0, 0.25, 0.5, 0.75));
        EXPECT_EQ(progress.progress(), whole);
    }
}

TEST_F(MacroProgress, GivesSlowCommandsTheLargerPart)
{
    // 16 parts, 1 part, 8 parts.
    macro->addCommand(makeWatching(progress, LegacyProgress::Speed::VerySlow));
    macro->addCommand(makeWatching(progress, LegacyProgress::Speed::VeryFast));
    macro->addCommand(makeWatching(progress, LegacyProgress::Speed::Slow));

    macro->execute();
    EXPECT_THAT(positions, ElementsAre(0.0, 16.0 / 25, 17.0 / 25));

    positions.clear();
    macro->undo();
    EXPECT_THAT(positions, ElementsAre(0.0, 8.0 / 25, 9.0 / 25));
}

/// The parts lie last to first although the first runs first: it owns the last part.
TEST_F(MacroProgress, IsFullAfterTheFirstStepOfAForwardUndo)
{
    for (int i = 0; i < 4; ++i)
    {
        macro->addCommand(makeWatching(progress));
    }
    macro->setUseForwardUndoOrder(true);

    macro->undo();

    EXPECT_THAT(positions, ElementsAre(0.0, 1.0, 1.0, 1.0));
}

TEST_F(MacroProgress, OfNestedMacrosIsDividedTwice)
{
    for (int i = 0; i < 2; ++i)
    {
        const auto inner = std::make_shared<MacroCommand>();
        inner->addCommand(makeWatching(progress));
        inner->addCommand(makeWatching(progress));
        macro->addCommand(inner);
    }

    macro->execute();
    macro->undo();

    EXPECT_THAT(positions, ElementsAre(0.0, 0.25, 0.5, 0.75, 0.0, 0.25, 0.5, 0.75));
    EXPECT_EQ(progress.progress(), whole);
}

TEST_F(MacroProgress, OfANestedMacroIsWeighedByItsAverageRate)
{
    const auto inner = std::make_shared<MacroCommand>();
    inner->setSpeedRate(LegacyProgress::Speed::VeryFast);
    inner->addCommand(makeWatching(progress, LegacyProgress::Speed::VerySlow));
    inner->addCommand(makeWatching(progress, LegacyProgress::Speed::VerySlow));
    macro->addCommand(inner);
    macro->addCommand(makeWatching(progress, LegacyProgress::Speed::VerySlow));
    EXPECT_EQ(inner->getSpeedRate(), LegacyProgress::Speed::VerySlow);

    macro->execute();

    EXPECT_THAT(positions, ElementsAre(0.0, 0.25, 0.5));
}

TEST_F(MacroProgress, MovesTheApplicationsBarThroughTheManager)
{
    const auto bar = std::make_shared<LegacyProgress>();
    CommandManager manager;
    manager.setProgress(bar);
    for (int i = 0; i < 4; ++i)
    {
        macro->addCommand(makeWatching(*bar));
    }
    manager.addCommand(macro);
    // Only what is undone and redone hangs under the manager's progress.
    EXPECT_THAT(positions, ElementsAre(0.0, 0.0, 0.0, 0.0));

    for (int round = 0; round < 2; ++round)
    {
        positions.clear();
        EXPECT_TRUE(manager.undo(1));
        EXPECT_THAT(positions, ElementsAre(0.0, 0.25, 0.5, 0.75));
        EXPECT_EQ(bar->progress(), whole);
        positions.clear();
        EXPECT_TRUE(manager.redo(1));
        EXPECT_THAT(positions, ElementsAre(0.0, 0.25, 0.5, 0.75));
        EXPECT_EQ(bar->progress(), whole);
    }
}

TEST_F(MacroProgress, OfAHundredThousandCommandsMovesOnEveryOne)
{
    constexpr int count = 100'000;
    double expected = 0.0;
    int wrong = 0;
    const auto watch = [&]
    {
        wrong += progress.progress() == expected ? 0 : 1;
        expected += whole / count;
    };
    for (int i = 0; i < count; ++i)
    {
        macro->addCommand(std::make_shared<CallbackCommand>(watch));
    }
    for (const auto operation : {&MacroCommand::execute, &MacroCommand::undo, &MacroCommand::redo})
    {
        expected = 0.0;
        (*macro.*operation)();
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(expected, whole);
        EXPECT_EQ(progress.progress(), whole);
    }
}

TEST_F(MacroProgress, IsNotCompleteAfterAFailure)
{
    macro->addCommand(makeWatching(progress));
    const auto failing = std::make_shared<CallbackCommand>([] { throw std::runtime_error("refused"); });
    macro->addCommand(failing);

    EXPECT_THROW(macro->execute(), std::runtime_error);

    EXPECT_EQ(progress.fraction(), 0.5);
    EXPECT_EQ(failing->getProgressPtr()->progress(), 0.0);
}

TEST_F(MacroProgress, ForgetsSubCommandsThatDie)
{
    std::weak_ptr<CommandBase> last;
    for (int i = 0; i < 4; ++i)
    {
        const auto command = makeWatching(progress);
        last = command;
        macro->addCommand(command);
    }
    const std::shared_ptr<LegacyProgress> kept = macro->getFirstCommand()->getProgress();
    macro->execute();

    macro->removeLastCommand();
    EXPECT_TRUE(last.expired());
    positions.clear();
    macro->undo();
    EXPECT_THAT(positions,
                ElementsAre(0.0, testing::DoubleNear(1.0 / 3, 1e-8), testing::DoubleNear(2.0 / 3, 1e-8)));
    macro->clear();
    macro->undo();
    EXPECT_EQ(progress.progress(), whole);
    macro->addCommand(makeWatching(progress));
    macro->executeAndAdd(makeWatching(progress));
    macro->redo();
    kept->setComplete();
    EXPECT_EQ(progress.progress(), whole);
}

TEST_F(MacroProgress, IsForgottenBySubCommandsThatOutliveIt)
{
    const auto part = std::make_shared<CallbackCommand>();
    macro->addCommand(part);
    macro->execute();
    macro.reset();

    part->getProgressPtr()->reset();
    part->getProgressPtr()->setComplete();

    MacroCommand other;
    other.addCommand(part);
    other.execute();
    EXPECT_EQ(other.getProgressPtr()->progress(), whole);
}

TEST_F(MacroProgress, OfASubCommandThatDiesWhileItsMacroRuns)
{
    // The macro holds the only reference to a neighbour that another command destroys by replacing its parts.
    const auto inner = std::make_shared<MacroCommand>();
    inner->addCommand(makeWatching(progress));
    macro->addCommand(inner);
    inner->execute();
    macro->addCommandToFront(std::make_shared<CallbackCommand>([inner] { inner->clear(); }));

    macro->execute();

    EXPECT_TRUE(inner->empty());
    EXPECT_EQ(progress.progress(), whole);
}

} // namespace
} // namespace Valdane
