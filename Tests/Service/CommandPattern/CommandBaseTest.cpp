#include "Service/CommandPattern/CommandBase.h"

#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetNameCmd.h"

#include <gtest/gtest.h>

#include <concepts>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace Valdane
{

/// Counts what it is asked to do. Outside the anonymous namespace, so that its name reads as users' do.
class CountingTestCmd : public CommandBase
{
public:
    using CommandBase::CommandBase;

    void execute() override
    {
        ++executions;
    }

    void undo() override
    {
        --executions;
    }

    int executions = 0;
};

namespace
{

using Rate = LegacyProgress::Speed::Rate;

static_assert(std::is_abstract_v<CommandBase>);
static_assert(std::has_virtual_destructor_v<CommandBase>);
static_assert(!std::is_copy_constructible_v<CountingTestCmd> && !std::is_copy_assignable_v<CountingTestCmd>);
static_assert(std::is_nothrow_move_constructible_v<CountingTestCmd>);
static_assert(std::is_nothrow_move_assignable_v<CountingTestCmd>);
static_assert(!std::convertible_to<std::string, CountingTestCmd>, "no command out of a text by accident");

static_assert(std::same_as<decltype(&CommandBase::execute), void (CommandBase::*)()>);
static_assert(std::same_as<decltype(&CommandBase::undo), void (CommandBase::*)()>);
static_assert(std::same_as<decltype(&CommandBase::redo), void (CommandBase::*)()>);
static_assert(
    std::same_as<decltype(&CommandBase::getDescription), const std::string& (CommandBase::*)() const>);
static_assert(std::same_as<decltype(&CommandBase::getSpeedRate), Rate (CommandBase::*)() const>);
static_assert(std::same_as<decltype(&CommandBase::isRedoCapable), bool (CommandBase::*)()>);
static_assert(std::same_as<decltype(&CommandBase::getLogDescription), std::string (CommandBase::*)()>);
static_assert(std::same_as<decltype(&CommandBase::setDescription), void (CommandBase::*)(std::string)>);

const std::string shortText = "Rename";
const std::string longText = "Rename the second of the cooling pumps to the name that it has on the drawing";

TEST(CommandBase, ANewCommandHasNoDescriptionNormalSpeedAndAProgress)
{
    CountingTestCmd command;

    EXPECT_EQ(command.getDescription(), "");
    EXPECT_EQ(command.getSpeedRate(), 3);
    EXPECT_EQ(command.getSpeedRate(), LegacyProgress::Speed::Normal);
    EXPECT_TRUE(command.isRedoCapable());
    ASSERT_NE(command.getProgressPtr(), nullptr);
    EXPECT_EQ(command.getProgressPtr()->progress(), 0.0);
}

TEST(CommandBase, ACommandWithADescriptionIsOtherwiseTheSame)
{
    CountingTestCmd command(longText);

    EXPECT_EQ(command.getDescription(), longText);
    EXPECT_EQ(command.getSpeedRate(), 3);
    EXPECT_NE(command.getProgressPtr(), nullptr);
}

TEST(CommandBase, EachCommandHasAProgressOfItsOwn)
{
    CountingTestCmd first;
    CountingTestCmd second;

    EXPECT_NE(first.getProgressPtr(), second.getProgressPtr());
}

TEST(CommandBase, TheProgressIsSharedButItsPlainPointerIsNot)
{
    CountingTestCmd command;
    const CountingTestCmd& constCommand = command;
    const std::shared_ptr<LegacyProgress> progress = command.getProgress();
    static_assert(std::same_as<decltype(constCommand.getProgress()), std::shared_ptr<const LegacyProgress>>);
    static_assert(std::same_as<decltype(constCommand.getProgressPtr()), const LegacyProgress*>);

    EXPECT_EQ(progress.use_count(), 2);
    EXPECT_EQ(command.getProgressPtr(), progress.get());
    EXPECT_EQ(constCommand.getProgressPtr(), progress.get());
    EXPECT_EQ(progress.use_count(), 2);
    EXPECT_EQ(constCommand.getProgress(), progress);
}

TEST(CommandBase, TheProgressMayOutliveItsCommand)
{
    auto command = std::make_unique<CountingTestCmd>();
    const std::shared_ptr<LegacyProgress> progress = command->getProgress();

    command.reset();

    EXPECT_EQ(progress.use_count(), 1);
    progress->setComplete();
    EXPECT_EQ(progress->fraction(), 1.0);
}

TEST(CommandBase, ADescriptionThatIsSetReplacesTheOldOneAlsoForAReferenceTakenBefore)
{
    CountingTestCmd command(shortText);
    const std::string& description = command.getDescription();

    command.setDescription(longText);

    EXPECT_EQ(description, longText);
    EXPECT_EQ(&description, &command.getDescription());
}

TEST(CommandBase, ASpeedRateThatIsSetIsGiven)
{
    CountingTestCmd command;

    command.setSpeedRate(LegacyProgress::Speed::VerySlow);

    EXPECT_EQ(command.getSpeedRate(), LegacyProgress::Speed::VerySlow);
}

TEST(CommandBase, RedoExecutesTheDerivedCommandAgain)
{
    CountingTestCmd command;
    CommandBase& base = command;
    base.execute();
    base.undo();

    base.redo();
    base.redo();

    EXPECT_EQ(command.executions, 2);
}

TEST(CommandBase, AnOverriddenRedoIsNoExecution)
{
    class OwnRedo : public CountingTestCmd
    {
    public:
        void redo() override
        {
            executions = 100;
        }
    };

    OwnRedo command;
    static_cast<CommandBase&>(command).redo();

    EXPECT_EQ(command.executions, 100);
}

class MovedCommand : public testing::TestWithParam<std::string>
{
protected:
    static void expectMovedFrom(CountingTestCmd& command)
    {
        EXPECT_EQ(command.getDescription(), "");
        EXPECT_EQ(command.getProgress(), nullptr);
        EXPECT_EQ(command.getProgressPtr(), nullptr);
        EXPECT_EQ(command.getSpeedRate(), LegacyProgress::Speed::Fast);
        EXPECT_EQ(command.getLogDescription(), "Valdane::CountingTestCmd");
    }

    void expectTaken(const CountingTestCmd& command) const
    {
        EXPECT_EQ(command.getDescription(), GetParam());
        EXPECT_EQ(command.getProgressPtr(), progress);
        EXPECT_EQ(command.getSpeedRate(), LegacyProgress::Speed::Fast);
    }

    void SetUp() override
    {
        source.setSpeedRate(LegacyProgress::Speed::Fast);
    }

    CountingTestCmd source{GetParam()};
    const LegacyProgress* progress = source.getProgressPtr();
};

TEST_P(MovedCommand, ConstructionTakesEverythingOverAndEmptiesTheSource)
{
    const CountingTestCmd target(std::move(source));

    expectTaken(target);
    expectMovedFrom(source); // NOLINT(bugprone-use-after-move): what is left is the point
}

TEST_P(MovedCommand, AssignmentTakesEverythingOverEmptiesTheSourceAndReleasesTheOldProgress)
{
    CountingTestCmd target("another text that is longer than what fits into a small string");
    const std::weak_ptr<LegacyProgress> oldProgress = target.getProgress();

    const CountingTestCmd& result = target = std::move(source);

    EXPECT_EQ(&result, &target);
    expectTaken(target);
    EXPECT_TRUE(oldProgress.expired());
    expectMovedFrom(source); // NOLINT(bugprone-use-after-move): what is left is the point
}

TEST_P(MovedCommand, AssignmentToItselfChangesNothing)
{
    CountingTestCmd& same = source;

    source = std::move(same);

    expectTaken(source);
}

TEST_P(MovedCommand, AMovedFromCommandCanBeAssignedTo)
{
    CountingTestCmd target(std::move(source));

    source = std::move(target);

    expectTaken(source);
    expectMovedFrom(target); // NOLINT(bugprone-use-after-move): what is left is the point
}

INSTANTIATE_TEST_SUITE_P(CommandBase, MovedCommand, testing::Values(shortText, longText),
                         [](const auto& instance)
                         { return instance.param == shortText ? "ShortText" : "LongText"; });

TEST(CommandBaseLogDescription, IsTheDescriptionThatWasSetNotTheOverriddenOne)
{
    class Overridden : public CountingTestCmd
    {
    public:
        using CountingTestCmd::CountingTestCmd;

        const std::string& getDescription() const override
        {
            return shown;
        }

    private:
        std::string shown = "shown to users";
    };

    EXPECT_EQ(Overridden("set").getLogDescription(), "set");
    EXPECT_NE(Overridden().getLogDescription(), "shown to users");
    EXPECT_NE(Overridden().getLogDescription().find("Overridden"), std::string::npos);
}

TEST(CommandBaseLogDescription, IsTheReadableNameOfTheDynamicClassWhereThereIsNoDescription)
{
    const auto object = std::make_shared<Object>("pump");

    EXPECT_EQ(CountingTestCmd().getLogDescription(), "Valdane::CountingTestCmd");
    EXPECT_EQ(SetNameCmd(object, "name", "").getLogDescription(), "Valdane::SetNameCmd");
    SetAttributeCmd<int> undescribed(object, Path(), 1, "text");
    undescribed.setDescription("");
    EXPECT_EQ(undescribed.getLogDescription(), "Valdane::SetAttributeCmd<int>");
}

TEST(CommandBaseLogDescription, FollowsTheDescription)
{
    CountingTestCmd command("first");

    command.setDescription("second");
    EXPECT_EQ(command.getLogDescription(), "second");
    command.setDescription("");
    EXPECT_EQ(command.getLogDescription(), "Valdane::CountingTestCmd");
}

} // namespace
} // namespace Valdane
