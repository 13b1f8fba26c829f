#include "Service/CommandPattern/SetAttributecommandFactory.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/MessageOf.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <concepts>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

static_assert(std::is_base_of_v<CommandCreatorInterface, SetAttributecommandFactory>);
static_assert(std::is_copy_constructible_v<SetAttributecommandFactory> &&
              std::is_copy_assignable_v<SetAttributecommandFactory>);
static_assert(std::is_nothrow_move_constructible_v<SetAttributecommandFactory> &&
              std::is_nothrow_move_assignable_v<SetAttributecommandFactory>);
static_assert(!std::convertible_to<std::shared_ptr<Object>, SetAttributecommandFactory>);

/// What a text is converted to; nothing where it is refused.
template <typename T>
struct Conversion
{
    std::string text;
    std::optional<T> value;
};

/// The tree "plant" with "pump".
class SetAttributecommandFactoryTest : public testing::Test
{
protected:
    SetAttributecommandFactoryTest()
    {
        root->addChild(pump);
    }

    template <typename T>
    std::shared_ptr<AttributeDescription<T>> addAttribute(const std::string& name, T& value)
    {
        auto attribute = std::make_shared<AttributeDescription<T>>(
            name, [&value] { return value; }, [&value](const T& newValue) { value = newValue; });
        pump->addAttributeDescription(attribute);
        return attribute;
    }

    template <typename T>
    void expectConversions(const std::vector<Conversion<T>>& conversions)
    {
        T value{};
        const auto attribute = addAttribute("speed", value);
        SetAttributecommandFactory factory(pump);
        for (const Conversion<T>& conversion : conversions)
        {
            SCOPED_TRACE("'" + conversion.text + "'");
            if (!conversion.value.has_value())
            {
                EXPECT_THROW(factory.createCommand(attribute.get(), conversion.text, ""),
                             boost::bad_lexical_cast);
                continue;
            }
            std::shared_ptr<CommandBase> command;
            ASSERT_NO_THROW(command = factory.createCommand(attribute.get(), conversion.text, ""));
            EXPECT_NE(dynamic_cast<SetAttributeCmd<T>*>(command.get()), nullptr);
            value = T{};
            command->execute();
            EXPECT_EQ(value, *conversion.value);
        }
    }

    std::shared_ptr<Object> root = std::make_shared<Object>("plant");
    std::shared_ptr<Object> pump = std::make_shared<Object>("pump");
};

TEST_F(SetAttributecommandFactoryTest, MakesACommandThatWasNotExecutedYet)
{
    int value = 1;
    const auto attribute = addAttribute("speed", value);
    SetAttributecommandFactory factory(pump);

    const std::shared_ptr<CommandBase> command = factory.createCommand(attribute.get(), "2", "");
    EXPECT_EQ(value, 1);
    EXPECT_EQ(command.use_count(), 1);
    EXPECT_EQ(command->getDescription(), "Set speed");
    command->execute();
    EXPECT_EQ(value, 2);
    command->undo();
    EXPECT_EQ(value, 1);

    EXPECT_EQ(factory.createCommand(attribute.get(), "2", "Faster")->getDescription(), "Faster");
}

TEST_F(SetAttributecommandFactoryTest, EveryTextIsAnAttributeName)
{
    for (const std::string name : {"", "a/b", "a.b", "\"quoted\"", "Drehzahl für Öl"})
    {
        int value = 1;
        const auto attribute = addAttribute(name, value);
        SetAttributecommandFactory(pump).createCommand(attribute.get(), "2", "")->execute();
        EXPECT_EQ(value, 2) << name;
    }
}

TEST_F(SetAttributecommandFactoryTest, ConvertsTextsToInt)
{
    expectConversions<int>({{"7", 7},
                            {"+7", 7},
                            {"-7", -7},
                            {"-0", 0},
                            {"007", 7},
                            {"-1", -1},
                            {"2147483647", 2147483647},
                            {"-2147483648", std::numeric_limits<int>::min()},
                            {"2147483648", {}},
                            {"-2147483649", {}},
                            {"4294967295", {}},
                            {"4294967296", {}},
                            {"99999999999999999999", {}},
                            {"", {}},
                            {"+", {}},
                            {"-", {}},
                            {"12a", {}},
                            {" 1", {}},
                            {"1 ", {}},
                            {"1\n", {}},
                            {"1.5", {}},
                            {"1e3", {}},
                            {"0x10", {}},
                            {"1,000", {}},
                            {"nan", {}},
                            {"inf", {}},
                            {"true", {}},
                            {std::string("1\0", 2), {}}});
}

TEST_F(SetAttributecommandFactoryTest, ConvertsTextsToUnsignedIntWrappingNegativeOnesAround)
{
    expectConversions<unsigned int>({{"7", 7U},
                                     {"+7", 7U},
                                     {"-7", 4294967289U},
                                     {"-1", 4294967295U},
                                     {"-0", 0U},
                                     {"-4294967295", 1U},
                                     {"-4294967296", {}},
                                     {"2147483648", 2147483648U},
                                     {"4294967295", 4294967295U},
                                     {"4294967296", {}},
                                     {"", {}},
                                     {"12a", {}},
                                     {" 1", {}},
                                     {"1 ", {}},
                                     {"1.5", {}},
                                     {"1e3", {}},
                                     {"0x10", {}},
                                     {"nan", {}},
                                     {"inf", {}}});
}

TEST_F(SetAttributecommandFactoryTest, ConvertsTextsToDouble)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    expectConversions<double>(
        {{"1.5", 1.5},    {"+7", 7.0},       {"-7", -7.0},        {"4294967296", 4294967296.0},
         {"1e3", 1000.0}, {"1E-3", 0.001},   {"-.5", -0.5},       {"1.", 1.0},
         {"0.1", 0.1},    {"inf", infinity}, {"-inf", -infinity}, {"infinity", infinity},
         {"", {}},        {"12a", {}},       {" 1", {}},          {"1 ", {}},
         {"1,5", {}},     {"1e", {}},        {"e3", {}},          {".", {}},
         {"true", {}}});
}

TEST_F(SetAttributecommandFactoryTest, ConvertsNanToNoNumber)
{
    double value = 0;
    const auto attribute = addAttribute("speed", value);

    for (const std::string text : {"nan", "NaN", "NAN", "-NAN", "nan(1)"})
    {
        value = 0;
        SetAttributecommandFactory(pump).createCommand(attribute.get(), text, "")->execute();
        EXPECT_TRUE(std::isnan(value)) << text;
        EXPECT_EQ(std::signbit(value), text.starts_with('-')) << text;
    }
}

TEST_F(SetAttributecommandFactoryTest, DoesNotTakeALackOfMemoryForATextThatIsNoNumber)
{
    double value = 0;
    const auto attribute = addAttribute("speed", value);
    const SetAttributecommandFactory factory(pump);
    const std::string text = "1.2345678901234567890123456789012345678901234567890";
    bool hasFailed = true;
    for (std::size_t successes = 0; hasFailed; ++successes)
    {
        bool hasThrown = false;
        const FailingAllocation failing(successes);
        try
        {
            SetAttributecommandFactory(factory).createCommand(attribute.get(), text, "");
        }
        catch (const std::bad_alloc&)
        {
            hasThrown = true;
        }
        hasFailed = failing.hasFailed();
        EXPECT_EQ(hasThrown, hasFailed) << "after " << successes << " allocations";
    }
}

TEST_F(SetAttributecommandFactoryTest, ConvertsTextsToBool)
{
    expectConversions<bool>({{"0", false},
                             {"1", true},
                             {"+1", true},
                             {"+0", false},
                             {"-0", false},
                             {"01", true},
                             {"00", false},
                             {"-1", {}},
                             {"2", {}},
                             {"true", {}},
                             {"false", {}},
                             {"", {}},
                             {" 1", {}},
                             {"1 ", {}},
                             {"1.0", {}},
                             {"12a", {}}});
}

TEST_F(SetAttributecommandFactoryTest, TakesEveryTextAsAString)
{
    expectConversions<std::string>({{"", ""},
                                    {" 1 ", " 1 "},
                                    {"12a", "12a"},
                                    {"two words\n", "two words\n"},
                                    {std::string("a\0b", 3), std::string("a\0b", 3)},
                                    {"Öl", "Öl"}});
}

TEST_F(SetAttributecommandFactoryTest, ARefusedTextIsExplainedByTheConversion)
{
    int value = 1;
    const auto attribute = addAttribute("speed", value);
    try
    {
        SetAttributecommandFactory(pump).createCommand(attribute.get(), "12a", "");
        FAIL() << "nothing thrown";
    }
    catch (const boost::bad_lexical_cast& exception)
    {
        EXPECT_STREQ(exception.what(),
                     "bad lexical cast: source type value could not be interpreted as target");
    }
}

TEST_F(SetAttributecommandFactoryTest, ADescriptionOfATypeWithoutAnOverloadGivesNoCommand)
{
    SetAttributecommandFactory factory(pump);
    CommandCreatorInterface& creator = factory;
    const AttributeDescription<float> description("speed", nullptr, nullptr);

    EXPECT_EQ(factory.createCommand(&description, "1", ""), nullptr);
    EXPECT_EQ(creator.createCommand(&description, "1", ""), nullptr);
    EXPECT_EQ(factory.createCommand(static_cast<const void*>(nullptr), "1", ""), nullptr);
}

TEST_F(SetAttributecommandFactoryTest, MakesTheSameCommandsThroughItsInterface)
{
    int number = 0;
    unsigned int count = 0;
    double share = 0;
    std::string text;
    bool flag = false;
    SetAttributecommandFactory factory(pump);
    CommandCreatorInterface& creator = factory;

    creator.createCommand(addAttribute("number", number).get(), "-1", "")->execute();
    creator.createCommand(addAttribute("count", count).get(), "2", "")->execute();
    creator.createCommand(addAttribute("share", share).get(), "0.5", "")->execute();
    creator.createCommand(addAttribute("text", text).get(), "text", "")->execute();
    creator.createCommand(addAttribute("flag", flag).get(), "1", "")->execute();

    EXPECT_EQ(number, -1);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(share, 0.5);
    EXPECT_EQ(text, "text");
    EXPECT_TRUE(flag);
}

TEST_F(SetAttributecommandFactoryTest, ACreatorOfTheAttributesOwnMakesTheCommand)
{
    int value = 1;
    const auto attribute = addAttribute("speed", value);
    const std::shared_ptr<CommandBase> own = std::make_shared<SetAttributeCmd<int>>(root, Path(), 0, "own");
    attribute->setCommandCreator(
        [&](std::shared_ptr<Object> givenRoot, const Path& path, const int& newValue,
            const std::string& description)
        {
            EXPECT_EQ(givenRoot, root);
            EXPECT_EQ(path, pump->getPath(root.get(), "speed", RequestedPathType::FromRoot));
            EXPECT_EQ(newValue, 7);
            EXPECT_EQ(description, "text");
            return std::shared_ptr<CommandBase>(own);
        });
    SetAttributecommandFactory factory(pump);

    EXPECT_EQ(factory.createCommand(attribute.get(), "7", "text"), own);
    EXPECT_THROW(factory.createCommand(attribute.get(), "12a", "text"), boost::bad_lexical_cast);

    attribute->setCommandCreator(
        [](const std::shared_ptr<Object>&, const Path&, const int&, const std::string&) { return nullptr; });
    EXPECT_EQ(factory.createCommand(attribute.get(), "7", "text"), nullptr);
}

TEST_F(SetAttributecommandFactoryTest, CopiesAndMovedOnesMakeCommandsForTheSameObject)
{
    int value = 0;
    const auto attribute = addAttribute("speed", value);
    SetAttributecommandFactory original(pump);

    SetAttributecommandFactory copy(original);
    copy.createCommand(attribute.get(), "1", "")->execute();
    EXPECT_EQ(value, 1);
    original.createCommand(attribute.get(), "2", "")->execute();
    EXPECT_EQ(value, 2);

    SetAttributecommandFactory assigned(root);
    assigned = copy;
    assigned.createCommand(attribute.get(), "3", "")->execute();
    EXPECT_EQ(value, 3);

    SetAttributecommandFactory moved(std::move(original));
    moved.createCommand(attribute.get(), "4", "")->execute();
    EXPECT_EQ(value, 4);
    // NOLINTNEXTLINE(bugprone-use-after-move): what is left is the point
    EXPECT_THROW(original.createCommand(attribute.get(), "4", ""), VdException);

    assigned = SetAttributecommandFactory(root);
    assigned = std::move(moved);
    assigned.createCommand(attribute.get(), "5", "")->execute();
    EXPECT_EQ(value, 5);
}

TEST_F(SetAttributecommandFactoryTest, ATreeThatIsGoneIsAnErrorThatNamesThePath)
{
    int value = 0;
    const auto attribute = addAttribute("speed", value);
    SetAttributecommandFactory factory(pump);
    const std::weak_ptr<Object> observed = root;
    root.reset();
    EXPECT_TRUE(observed.expired()) << "the factory does not keep it";

    EXPECT_EQ(messageOf([&] { factory.createCommand(attribute.get(), "1", ""); }),
              "The object tree of '/pump' no longer exists.");
}

TEST_F(SetAttributecommandFactoryTest, AnObjectThatIsGoneIsAnErrorThatNamesThePath)
{
    int value = 0;
    const auto attribute = addAttribute("speed", value);
    SetAttributecommandFactory factory(pump);
    root->removeChild("pump");

    EXPECT_EQ(messageOf([&] { factory.createCommand(attribute.get(), "1", ""); }),
              "There is no object at '/pump'.");
    EXPECT_EQ(messageOf([&] { factory.createCommand(attribute.get(), "12a", ""); }),
              "There is no object at '/pump'.")
        << "the object comes before the text";
}

TEST_F(SetAttributecommandFactoryTest, NoObjectAndNoDescriptionAreErrors)
{
    EXPECT_EQ(messageOf([] { SetAttributecommandFactory(nullptr); }),
              "A command that edits an object was given none.");

    SetAttributecommandFactory factory(pump);
    const AttributeDescription<int>* none = nullptr;
    EXPECT_EQ(messageOf([&] { factory.createCommand(none, "1", ""); }), "No attribute of '/pump' was given.");
}

TEST_F(SetAttributecommandFactoryTest, ACommandForAnAttributeThatTheObjectDoesNotHaveFailsWhenItRuns)
{
    const AttributeDescription<int> foreign("weight", nullptr, nullptr);
    const std::shared_ptr<CommandBase> command =
        SetAttributecommandFactory(pump).createCommand(&foreign, "1", "");

    EXPECT_EQ(messageOf([&] { command->execute(); }),
              "There is no attribute of the expected type at '/pump.weight'.");
}

} // namespace
} // namespace Valdane
