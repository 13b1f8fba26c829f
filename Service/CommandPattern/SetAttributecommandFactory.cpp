#include "Service/CommandPattern/SetAttributecommandFactory.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ObjectLookup.h"
#include "Service/CommandPattern/SetAttributeCmd.h"

#include <boost/lexical_cast.hpp>

#include <type_traits>

namespace Valdane
{

namespace
{

template <typename T>
T convert(const std::string& text)
{
    if constexpr (std::is_same_v<T, std::string>)
    {
        return text;
    }
    else
    {
        return boost::lexical_cast<T>(text);
    }
}

} // namespace

SetAttributecommandFactory::SetAttributecommandFactory(std::shared_ptr<Object> object)
    : rootObject(rootOf(object)), objectPath(object->getPath(RequestedPathType::FromRoot))
{
}

SetAttributecommandFactory::SetAttributecommandFactory(const SetAttributecommandFactory&) = default;
SetAttributecommandFactory::SetAttributecommandFactory(SetAttributecommandFactory&&) noexcept = default;
SetAttributecommandFactory&
SetAttributecommandFactory::operator=(const SetAttributecommandFactory&) = default;
SetAttributecommandFactory&
SetAttributecommandFactory::operator=(SetAttributecommandFactory&&) noexcept = default;
SetAttributecommandFactory::~SetAttributecommandFactory() = default;

std::shared_ptr<CommandBase>
SetAttributecommandFactory::createCommand(const AttributeDescription<bool>* description,
                                          const std::string& valueText, const std::string& commandDescription)
{
    return create(description, valueText, commandDescription);
}

std::shared_ptr<CommandBase>
SetAttributecommandFactory::createCommand(const AttributeDescription<double>* description,
                                          const std::string& valueText, const std::string& commandDescription)
{
    return create(description, valueText, commandDescription);
}

std::shared_ptr<CommandBase>
SetAttributecommandFactory::createCommand(const AttributeDescription<std::string>* description,
                                          const std::string& valueText, const std::string& commandDescription)
{
    return create(description, valueText, commandDescription);
}

std::shared_ptr<CommandBase>
SetAttributecommandFactory::createCommand(const AttributeDescription<unsigned int>* description,
                                          const std::string& valueText, const std::string& commandDescription)
{
    return create(description, valueText, commandDescription);
}

std::shared_ptr<CommandBase>
SetAttributecommandFactory::createCommand(const AttributeDescription<int>* description,
                                          const std::string& valueText, const std::string& commandDescription)
{
    return create(description, valueText, commandDescription);
}

template <typename T>
std::shared_ptr<CommandBase> SetAttributecommandFactory::create(const AttributeDescription<T>* description,
                                                                const std::string& valueText,
                                                                const std::string& commandDescription) const
{
    const std::shared_ptr<Object> object = findObject(rootObject, objectPath);
    if (description == nullptr)
    {
        throw VdException("No attribute of '" + objectPath.toString() + "' was given.");
    }
    const std::shared_ptr<Object> root = rootObject.lock();
    const Path attributePath =
        object->getPath(root.get(), description->getName(), RequestedPathType::FromRoot);
    const T value = convert<T>(valueText);
    const auto createOwn = description->getCommandCreator();
    if (!createOwn)
    {
        return std::make_shared<SetAttributeCmd<T>>(rootObject, attributePath, value, commandDescription);
    }
    return createOwn(root, attributePath, value, commandDescription);
}

} // namespace Valdane
