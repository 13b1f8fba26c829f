#include "Tests/Platform/Parameterization/AttributeModule.h"

#include "Platform/Parameterization/AttributeDescription.h"

#include <array>
#include <vector>

namespace ValdaneTests
{

namespace
{

using Valdane::AttributeDescription;
using Valdane::AttributeDescriptionBase;

template <typename T>
bool is(const AttributeDescriptionBase& description)
{
    return dynamic_cast<const AttributeDescription<T>*>(&description) != nullptr;
}

template <typename T>
std::shared_ptr<AttributeDescriptionBase> make()
{
    return std::make_shared<AttributeDescription<T>>("made in the module", nullptr, nullptr);
}

struct Type
{
    std::string_view name;
    bool (*matches)(const AttributeDescriptionBase&);
    std::shared_ptr<AttributeDescriptionBase> (*make)();
};

constexpr auto types = std::to_array<Type>({
    {.name = "bool", .matches = is<bool>, .make = make<bool>},
    {.name = "double", .matches = is<double>, .make = make<double>},
    {.name = "std::string", .matches = is<std::string>, .make = make<std::string>},
    {.name = "unsigned int", .matches = is<unsigned int>, .make = make<unsigned int>},
    {.name = "int", .matches = is<int>, .make = make<int>},
    {.name = "std::vector<double>", .matches = is<std::vector<double>>, .make = make<std::vector<double>>},
});

} // namespace

std::string typeSeenByModule(const AttributeDescriptionBase& description)
{
    std::string seen;
    for (const auto& type : types)
    {
        if (type.matches(description))
        {
            seen += type.name;
        }
    }
    return seen;
}

std::shared_ptr<AttributeDescriptionBase> makeInModule(std::string_view name)
{
    for (const auto& type : types)
    {
        if (type.name == name)
        {
            return type.make();
        }
    }
    return {};
}

} // namespace ValdaneTests
