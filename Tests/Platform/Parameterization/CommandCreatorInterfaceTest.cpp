#include "Platform/Parameterization/CommandCreatorInterface.h"

#include "Platform/Parameterization/AttributeDescription.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace Valdane
{

// The real one is the business of the command library; all the tests need is to tell commands apart.
class CommandBase
{
public:
    explicit CommandBase(std::string commandText) : text(std::move(commandText)) {}

    const std::string text;
};

} // namespace Valdane

namespace
{

using Valdane::AttributeDescription;
using Valdane::CommandBase;
using Valdane::CommandCreatorInterface;

class Creator : public CommandCreatorInterface
{
public:
    using CommandCreatorInterface::createCommand;

    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<bool>* /*description*/,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override
    {
        return make("bool", valueText, commandDescription);
    }

    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<double>* /*description*/,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override
    {
        return make("double", valueText, commandDescription);
    }

    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<std::string>* /*description*/,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override
    {
        return make("string", valueText, commandDescription);
    }

    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<unsigned int>* /*description*/,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override
    {
        return make("unsigned", valueText, commandDescription);
    }

    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<int>* /*description*/,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override
    {
        return make("int", valueText, commandDescription);
    }

private:
    static std::shared_ptr<CommandBase> make(const std::string& type, const std::string& valueText,
                                             const std::string& commandDescription)
    {
        return std::make_shared<CommandBase>(type + "|" + valueText + "|" + commandDescription);
    }
};

template <typename T>
std::string createdFor(CommandCreatorInterface& creator)
{
    const AttributeDescription<T> description("attribute", nullptr, nullptr);
    const auto command = creator.createCommand(&description, "value", "text");
    return command == nullptr ? "" : command->text;
}

TEST(CommandCreatorInterface, EveryTypeHasAnOverloadOfItsOwn)
{
    Creator creator;
    EXPECT_EQ(createdFor<bool>(creator), "bool|value|text");
    EXPECT_EQ(createdFor<double>(creator), "double|value|text");
    EXPECT_EQ(createdFor<std::string>(creator), "string|value|text");
    EXPECT_EQ(createdFor<unsigned int>(creator), "unsigned|value|text");
    EXPECT_EQ(createdFor<int>(creator), "int|value|text");
}

TEST(CommandCreatorInterface, MakesNoCommandForATypeWithoutOverload)
{
    Creator creator;
    EXPECT_EQ(createdFor<float>(creator), "");
    const void* unknown = &creator;
    EXPECT_EQ(creator.createCommand(unknown, "value", "text"), nullptr);
}

// The place of a virtual operation in the table that other modules are compiled against, in bytes.
template <typename Description>
std::ptrdiff_t slotOf()
{
    std::shared_ptr<CommandBase> (CommandCreatorInterface::*operation)(
        Description, const std::string&, const std::string&) = &CommandCreatorInterface::createCommand;
    std::ptrdiff_t slot = 0;
    static_assert(sizeof(operation) >= sizeof(slot));
    std::memcpy(&slot, &operation, sizeof(slot));
    return slot;
}

TEST(CommandCreatorInterface, HasItsOverloadsInTheOrderThatOtherModulesAreCompiledAgainst)
{
    const auto first = slotOf<const void*>();
    constexpr auto step = static_cast<std::ptrdiff_t>(sizeof(void*));
    EXPECT_EQ(slotOf<const AttributeDescription<bool>*>(), first + step);
    EXPECT_EQ(slotOf<const AttributeDescription<double>*>(), first + (2 * step));
    EXPECT_EQ(slotOf<const AttributeDescription<std::string>*>(), first + (3 * step));
    EXPECT_EQ(slotOf<const AttributeDescription<unsigned int>*>(), first + (4 * step));
    EXPECT_EQ(slotOf<const AttributeDescription<int>*>(), first + (5 * step));
}

TEST(CommandCreatorInterface, LeavesOnlyTheOverloadsOfTheFiveTypesToItsImplementation)
{
    static_assert(std::is_abstract_v<CommandCreatorInterface>);
    static_assert(!std::is_abstract_v<Creator>);
    static_assert(std::has_virtual_destructor_v<CommandCreatorInterface>);
    static_assert(sizeof(CommandCreatorInterface) == sizeof(void*));
    static_assert(std::is_copy_assignable_v<Creator> && std::is_copy_constructible_v<Creator>);
}

} // namespace
