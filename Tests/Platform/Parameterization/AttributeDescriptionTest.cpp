#include "Platform/Parameterization/AttributeDescription.h"

#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Tests/Platform/Parameterization/AttributeModule.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace
{

using Valdane::AttributeDescription;
using Valdane::AttributeDescriptionBase;
using Valdane::CommandBase;
using Valdane::Object;
using Valdane::Path;
using ValdaneTests::makeInModule;
using ValdaneTests::typeSeenByModule;

TEST(AttributeDescription, ReadsAndWritesThroughWhatItWasGiven)
{
    double mass = 1.5;
    const AttributeDescription<double> description(
        "mass", [&mass] { return mass; }, [&mass](const double& value) { mass = value; });
    EXPECT_EQ(description.getName(), "mass");
    EXPECT_EQ(description.getGetter()(), 1.5);
    description.getSetter()(2.5);
    EXPECT_EQ(mass, 2.5);
    EXPECT_EQ(description.getGetter()(), 2.5);
}

TEST(AttributeDescription, WithoutGetterAndSetterCannotBeReadOrWritten)
{
    const AttributeDescription<std::string> description("mass", nullptr, nullptr);
    EXPECT_THROW(description.getGetter()(), std::bad_function_call);
    EXPECT_THROW(description.getSetter()(""), std::bad_function_call);
}

TEST(AttributeDescription, TellsListenersTheValueWhenItsSignalIsEmitted)
{
    AttributeDescription<std::string> description("name", nullptr, [](const std::string&) {});
    std::vector<std::string> heard;
    const auto connection =
        description.getSigChanged().connect([&heard](const std::string& value) { heard.push_back(value); });
    description.getSetter()("not announced by writing");
    EXPECT_EQ(heard, std::vector<std::string>());
    description.getSigChanged()("announced");
    EXPECT_EQ(heard, std::vector<std::string>{"announced"});
}

TEST(AttributeDescription, HasNoCommandCreatorUnlessOneIsSet)
{
    AttributeDescription<int> description("count", nullptr, nullptr);
    EXPECT_FALSE(description.getCommandCreator());
    description.setCommandCreator([](auto&&...) { return std::shared_ptr<CommandBase>(); });
    EXPECT_TRUE(description.getCommandCreator());
    description.setCommandCreator(nullptr);
    EXPECT_FALSE(description.getCommandCreator());
}

TEST(AttributeDescription, HandsItsCommandCreatorTheRootThePathTheValueAndTheText)
{
    AttributeDescription<int> description("count", nullptr, nullptr);
    const auto root = std::make_shared<Object>("root");
    std::vector<std::string> seen;
    description.setCommandCreator(
        [&](const std::shared_ptr<Object>& givenRoot, const Path& path, const int& value,
            const std::string& text)
        {
            EXPECT_EQ(givenRoot, root);
            seen = {path.toString(), std::to_string(value), text};
            return std::shared_ptr<CommandBase>();
        });
    EXPECT_EQ(description.getCommandCreator()(root, Path({"a"}, "count"), 7, "Count to 7"), nullptr);
    EXPECT_EQ(seen, (std::vector<std::string>{"/a.count", "7", "Count to 7"}));
}

TEST(AttributeDescription, HasTheCallablesThatCommandsAreWrittenAgainst)
{
    using Description = AttributeDescription<double>;
    static_assert(std::is_base_of_v<AttributeDescriptionBase, Description>);
    static_assert(std::is_same_v<Description::Getter, std::function<double()>>);
    static_assert(std::is_same_v<Description::Setter, std::function<void(const double&)>>);
    static_assert(
        std::is_same_v<Description::CommandCreator,
                       std::function<std::shared_ptr<CommandBase>(std::shared_ptr<Object>, const Path&,
                                                                  const double&, const std::string&)>>);
    static_assert(std::is_same_v<decltype(std::declval<Description&>().getSigChanged()),
                                 Valdane::Signals::Signal<void(const double&)>&>);
    static_assert(!std::is_copy_constructible_v<Description> && !std::is_copy_assignable_v<Description>);
}

template <typename T>
class AttributeDescriptionAcrossLibraries : public testing::Test
{
};

template <typename T>
std::string nameOf();

template <>
std::string nameOf<bool>()
{
    return "bool";
}

template <>
std::string nameOf<double>()
{
    return "double";
}

template <>
std::string nameOf<std::string>()
{
    return "std::string";
}

template <>
std::string nameOf<unsigned int>()
{
    return "unsigned int";
}

template <>
std::string nameOf<int>()
{
    return "int";
}

template <>
std::string nameOf<std::vector<double>>()
{
    return "std::vector<double>";
}

using Types = testing::Types<bool, double, std::string, unsigned int, int, std::vector<double>>;
TYPED_TEST_SUITE(AttributeDescriptionAcrossLibraries, Types);

TYPED_TEST(AttributeDescriptionAcrossLibraries, AreCastInAnotherLibraryToTheirTypeOnly)
{
    const AttributeDescription<TypeParam> description("attribute", nullptr, nullptr);
    EXPECT_EQ(typeSeenByModule(description), nameOf<TypeParam>());
}

TYPED_TEST(AttributeDescriptionAcrossLibraries, AreCastHereToTheirTypeWhenAnotherLibraryMadeThem)
{
    for (const std::string type :
         {"bool", "double", "std::string", "unsigned int", "int", "std::vector<double>"})
    {
        const auto description = makeInModule(type);
        ASSERT_NE(description, nullptr);
        const auto cast = std::dynamic_pointer_cast<AttributeDescription<TypeParam>>(description);
        EXPECT_EQ(cast != nullptr, type == nameOf<TypeParam>()) << type;
    }
}

// Not just equal: one, so that casts compare addresses and no name has to be looked at.
TYPED_TEST(AttributeDescriptionAcrossLibraries, ShareOneTypeInformation)
{
    const auto description = makeInModule(nameOf<TypeParam>());
    const AttributeDescriptionBase& made = *description;
    EXPECT_EQ(typeid(made), typeid(AttributeDescription<TypeParam>));
#ifndef _WIN32 // where each library has its own, and they are compared by name
    EXPECT_EQ(&typeid(made), &typeid(AttributeDescription<TypeParam>));
#endif
}

} // namespace
