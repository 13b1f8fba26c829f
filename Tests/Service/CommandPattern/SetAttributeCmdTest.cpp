#include "Service/CommandPattern/SetAttributeCmd.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

template <typename T>
struct Values;

template <>
struct Values<int>
{
    static inline const int before = std::numeric_limits<int>::min();
    static inline const int after = 7;
    using Other = unsigned int;
};

template <>
struct Values<unsigned int>
{
    static inline const unsigned int before = 7;
    static inline const unsigned int after = std::numeric_limits<unsigned int>::max();
    using Other = int;
};

template <>
struct Values<double>
{
    static inline const double before = -0.1;
    static inline const double after = std::numeric_limits<double>::infinity();
    using Other = int;
};

template <>
struct Values<std::string>
{
    static inline const std::string before = "a text that does not fit into a small string";
    static inline const std::string after;
    using Other = bool;
};

template <>
struct Values<bool>
{
    static inline const bool before = true;
    static inline const bool after = false;
    using Other = int;
};

template <typename T>
class TestedAttribute : public AttributeDescription<T>
{
public:
    using AttributeDescription<T>::AttributeDescription;

    bool emitsChangedSignal() const override
    {
        return emitsChanged;
    }

    bool emitsChanged = false;
};

/// The tree "plant" with "pump", which has the attribute "speed" of the type under test.
template <typename T>
class SetAttributeCmdTest : public testing::Test
{
protected:
    SetAttributeCmdTest()
    {
        root->addChild(pump);
        pump->addAttributeDescription(attribute);
    }

    std::shared_ptr<SetAttributeCmd<T>> makeCommand(const std::string& description = "")
    {
        return std::make_shared<SetAttributeCmd<T>>(root, pathOf("speed"), after, description);
    }

    Path pathOf(const std::string& name) const
    {
        return pump->getPath(root.get(), name, RequestedPathType::FromRoot);
    }

    const T before = Values<T>::before;
    const T after = Values<T>::after;
    T value = before;
    std::function<void()> onSet;
    std::shared_ptr<Object> root = std::make_shared<Object>("plant");
    std::shared_ptr<Object> pump = std::make_shared<Object>("pump");
    std::shared_ptr<TestedAttribute<T>> attribute = std::make_shared<TestedAttribute<T>>(
        "speed", [this] { return value; },
        [this](const T& newValue)
        {
            if (onSet)
            {
                onSet();
            }
            value = newValue;
        });
    std::vector<T> announced;
    Signals::Connection changed =
        attribute->getSigChanged().connect([this](const T& newValue) { announced.push_back(newValue); });
};

using AttributeTypes = testing::Types<int, unsigned int, double, std::string, bool>;
TYPED_TEST_SUITE(SetAttributeCmdTest, AttributeTypes);

TYPED_TEST(SetAttributeCmdTest, IsACommandThatIsMovedButNotCopied)
{
    using Command = SetAttributeCmd<TypeParam>;
    static_assert(std::is_base_of_v<CommandBase, Command>);
    static_assert(!std::is_copy_constructible_v<Command> && !std::is_copy_assignable_v<Command>);
    static_assert(std::is_nothrow_move_constructible_v<Command>);
    static_assert(std::is_nothrow_move_assignable_v<Command>);

    Command source(this->root, this->pathOf("speed"), this->after, "text");
    source.execute();
    Command constructed(std::move(source));
    Command assigned({}, Path(), TypeParam(), "another");
    assigned = std::move(constructed);
    EXPECT_EQ(assigned.getDescription(), "text");

    assigned.undo();
    EXPECT_EQ(this->value, this->before);
    assigned.redo();
    EXPECT_EQ(this->value, this->after);

    // NOLINTNEXTLINE(bugprone-use-after-move): a moved-from command has no tree, so it does nothing
    EXPECT_NO_THROW(source.undo());
    EXPECT_NO_THROW(source.execute());
    EXPECT_EQ(this->value, this->after);
}

TYPED_TEST(SetAttributeCmdTest, SetsTheNewValueAndAnnouncesItThenTheOldOne)
{
    CommandManager manager;
    EXPECT_TRUE(manager.addCommand(this->makeCommand()));
    EXPECT_EQ(this->value, this->after);
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(this->value, this->before);
    EXPECT_TRUE(manager.redo(1));
    EXPECT_EQ(this->value, this->after);

    EXPECT_EQ(this->announced, (std::vector<TypeParam>{this->after, this->before, this->after}));
}

TYPED_TEST(SetAttributeCmdTest, TheValueIsSetBeforeItIsAnnounced)
{
    const auto command = this->makeCommand();
    std::vector<TypeParam> seen;
    const Signals::Connection looking =
        this->attribute->getSigChanged().connect([&](const TypeParam&) { seen.push_back(this->value); });

    command->execute();
    command->undo();

    EXPECT_EQ(seen, this->announced);
    EXPECT_EQ(seen.size(), 2U);
}

TYPED_TEST(SetAttributeCmdTest, UndoRestoresTheValueThatTheLastExecutionFound)
{
    const auto command = this->makeCommand();
    this->value = this->after;
    command->execute();
    command->undo();
    EXPECT_EQ(this->value, this->after);

    this->value = this->before;
    command->redo();
    command->undo();
    EXPECT_EQ(this->value, this->before);
}

TYPED_TEST(SetAttributeCmdTest, WithoutADescriptionItNamesTheAttribute)
{
    EXPECT_EQ(this->makeCommand()->getDescription(), "Set speed");
    EXPECT_EQ(this->makeCommand("Faster")->getDescription(), "Faster");
    const SetAttributeCmd<TypeParam> odd(this->root, this->pathOf("a/b.c \"d\""), this->after, "");
    EXPECT_EQ(odd.getDescription(), "Set a/b.c \"d\"");
    const SetAttributeCmd<TypeParam> nameless(this->root, Path(), this->after, "");
    EXPECT_EQ(nameless.getDescription(), "Set ");
}

TYPED_TEST(SetAttributeCmdTest, AnAttributeThatIsNotForStandardIsAnnouncedOnlyIfItSaysSo)
{
    const auto command = this->makeCommand();
    this->attribute->setForStandardEnabled(false);
    command->execute();
    command->undo();
    EXPECT_TRUE(this->announced.empty());
    EXPECT_EQ(this->value, this->before);

    this->attribute->emitsChanged = true;
    command->execute();
    command->undo();
    EXPECT_EQ(this->announced, (std::vector<TypeParam>{this->after, this->before}));
}

TYPED_TEST(SetAttributeCmdTest, ExecutionLeavesTheStateOfApplyingStandardValuesAndUndoSwitchesItForTheSetter)
{
    const auto command = this->makeCommand();
    std::vector<bool> states;
    this->onSet = [&]
    {
        states.push_back(this->pump->isApplyStandardRunning());
    };

    this->pump->setApplyStandardRunning(true);
    command->execute();
    EXPECT_TRUE(this->pump->isApplyStandardRunning());
    this->pump->setApplyStandardRunning(false);
    command->undo();
    EXPECT_FALSE(this->pump->isApplyStandardRunning());
    command->redo();
    command->undo();

    EXPECT_THAT(states, ElementsAre(true, true, false, true));
}

TYPED_TEST(SetAttributeCmdTest, UndoOfAnOrdinaryExecutionIsNotTakenForAStandardValue)
{
    const auto command = this->makeCommand();
    command->execute();
    std::vector<bool> states;
    this->onSet = [&]
    {
        states.push_back(this->pump->isApplyStandardRunning());
    };
    this->pump->setApplyStandardRunning(true);

    command->undo();

    EXPECT_THAT(states, ElementsAre(false));
    EXPECT_TRUE(this->pump->isApplyStandardRunning());
}

TYPED_TEST(SetAttributeCmdTest, TheStateIsPutBackAlsoWhenSetterOrListenerThrow)
{
    const auto command = this->makeCommand();
    this->pump->setApplyStandardRunning(true);
    command->execute();
    this->pump->setApplyStandardRunning(false);

    this->onSet = []
    {
        throw 42; // NOLINT(hicpp-exception-baseclass)
    };
    EXPECT_THROW(command->undo(), int);
    EXPECT_FALSE(this->pump->isApplyStandardRunning());

    this->onSet = nullptr;
    const Signals::Connection throwing =
        this->attribute->getSigChanged().connect([](const TypeParam&) { throw std::runtime_error("deaf"); });
    EXPECT_THROW(command->undo(), std::runtime_error);
    EXPECT_FALSE(this->pump->isApplyStandardRunning());
}

TYPED_TEST(SetAttributeCmdTest, TheProgressStartsAnewAndIsCompleteAtTheEnd)
{
    const auto command = this->makeCommand();
    const LegacyProgress& progress = *command->getProgressPtr();
    std::vector<double> during;
    this->onSet = [&]
    {
        during.push_back(progress.fraction());
    };
    command->getProgressPtr()->setComplete();

    command->execute();
    EXPECT_EQ(progress.fraction(), 1.0);
    command->undo();
    EXPECT_EQ(progress.fraction(), 1.0);
    EXPECT_THAT(during, ElementsAre(0, 0));
}

TYPED_TEST(SetAttributeCmdTest, WithoutATreeNothingHappensAndTheManagerSucceeds)
{
    CommandManager manager;
    const auto command = this->makeCommand();
    manager.addCommand(command);
    const std::weak_ptr<Object> observed = this->root;
    this->root.reset();
    EXPECT_TRUE(observed.expired()) << "the command does not keep it";
    command->getProgressPtr()->reset();
    command->getProgressPtr()->moveTo(5);
    this->announced.clear();

    EXPECT_NO_THROW(command->execute());
    EXPECT_NO_THROW(command->redo());
    EXPECT_NO_THROW(command->undo());
    EXPECT_TRUE(manager.undo(1));
    EXPECT_TRUE(manager.redo(1));

    EXPECT_EQ(command->getProgressPtr()->progress(), 5.0);
    EXPECT_EQ(this->value, this->after);
    EXPECT_TRUE(this->announced.empty());
}

TYPED_TEST(SetAttributeCmdTest, AnObjectThatIsGoneIsAnErrorThatNamesThePath)
{
    const auto command = this->makeCommand();
    command->execute();
    this->root->removeChild("pump");

    EXPECT_EQ(messageOf([&] { command->execute(); }), "There is no object at '/pump.speed'.");
    EXPECT_EQ(messageOf([&] { command->undo(); }), "There is no object at '/pump.speed'.");
    EXPECT_EQ(this->value, this->after);
}

TYPED_TEST(SetAttributeCmdTest, AnAttributeThatIsGoneIsAnErrorOnExecuteAndNothingToDoOnUndo)
{
    const auto command = this->makeCommand();
    command->execute();
    this->announced.clear();
    this->root->replaceChild(std::make_shared<Object>("pump"));

    EXPECT_EQ(messageOf([&] { command->execute(); }),
              "There is no attribute of the expected type at '/pump.speed'.");
    EXPECT_NO_THROW(command->undo());
    EXPECT_EQ(command->getProgressPtr()->fraction(), 1.0);
    EXPECT_EQ(this->value, this->after);
    EXPECT_TRUE(this->announced.empty());
}

TYPED_TEST(SetAttributeCmdTest, AnAttributeOfAnotherTypeIsNotTheAttribute)
{
    using Other = typename Values<TypeParam>::Other;
    this->pump->addAttributeDescription(std::make_shared<AttributeDescription<Other>>(
        "other", [] { return Other(); }, [](const Other&) { FAIL() << "written"; }));
    SetAttributeCmd<TypeParam> command(this->root, this->pathOf("other"), this->after, "");

    EXPECT_EQ(messageOf([&] { command.execute(); }),
              "There is no attribute of the expected type at '/pump.other'.");
    EXPECT_NO_THROW(command.undo());
}

TYPED_TEST(SetAttributeCmdTest, AnObjectThatReplacedTheFirstOneIsEdited)
{
    const auto command = this->makeCommand();
    command->execute();
    const auto replacement = std::make_shared<Object>("pump");
    TypeParam otherValue = this->after;
    replacement->addAttributeDescription(std::make_shared<AttributeDescription<TypeParam>>(
        "speed", [&] { return otherValue; }, [&](const TypeParam& newValue) { otherValue = newValue; }));
    this->root->replaceChild(replacement);

    command->undo();

    EXPECT_EQ(otherValue, this->before);
    EXPECT_EQ(this->value, this->after);
}

TYPED_TEST(SetAttributeCmdTest, AnAttributeWithoutGetterOrSetterCannotBeSet)
{
    const auto ignore = [](const TypeParam&)
    {
        FAIL() << "written";
    };
    this->pump->addAttributeDescription(
        std::make_shared<AttributeDescription<TypeParam>>("write-only", nullptr, ignore));
    this->pump->addAttributeDescription(std::make_shared<AttributeDescription<TypeParam>>(
        "read-only", [this] { return this->before; }, nullptr));
    SetAttributeCmd<TypeParam> toWriteOnly(this->root, this->pathOf("write-only"), this->after, "");
    SetAttributeCmd<TypeParam> toReadOnly(this->root, this->pathOf("read-only"), this->after, "");

    EXPECT_THROW(toWriteOnly.execute(), std::bad_function_call);
    EXPECT_THROW(toReadOnly.execute(), std::bad_function_call);
    this->pump->setApplyStandardRunning(true);
    EXPECT_THROW(toReadOnly.undo(), std::bad_function_call);
    EXPECT_TRUE(this->pump->isApplyStandardRunning());
}

TYPED_TEST(SetAttributeCmdTest, ASetterThatThrowsIsAFailureThatLeavesTheValue)
{
    CommandManager manager;
    this->onSet = []
    {
        throw std::runtime_error("jammed");
    };
    EXPECT_FALSE(manager.addCommand(this->makeCommand()));
    EXPECT_FALSE(manager.canUndo());
    EXPECT_EQ(this->value, this->before);
    EXPECT_TRUE(this->announced.empty());
}

TYPED_TEST(SetAttributeCmdTest, ACommandWithTheStateOfAnotherDoesAndUndoesTheSame)
{
    const auto original = this->makeCommand("Set");
    original->execute();
    const typename SetAttributeCmd<TypeParam>::State state = original->getState();
    EXPECT_EQ(state.path, this->pathOf("speed"));
    EXPECT_EQ(state.newValue, this->after);
    EXPECT_EQ(state.oldValue, this->before);
    EXPECT_FALSE(state.applyStandardRunning);

    SetAttributeCmd<TypeParam> copy(this->root, state, "");
    EXPECT_EQ(copy.getDescription(), "Set speed");
    copy.undo();
    EXPECT_EQ(this->value, this->before);
    copy.execute();
    EXPECT_EQ(this->value, this->after);
}

} // namespace
} // namespace Valdane
