#include "Service/CommandPattern/SetAttributecommandFactory.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ObjectLookup.h"
#include "Service/CommandPattern/SetAttributeCmd.h"

#include <boost/lexical_cast.hpp>
#include <boost/throw_exception.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ios>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <typeinfo>

namespace Valdane
{

namespace
{

// boost::lexical_cast reads numbers by the rules of the global locale, in which "1.500" may be 1500. These read
// them as it does in the classic locale. Only its conversion to bool asks no locale.

bool takeSign(std::string_view& text)
{
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
    {
        text.remove_prefix(1);
    }
    return isNegative;
}

template <typename Integer>
std::optional<Integer> parseInteger(std::string_view text)
{
    const bool isNegative = takeSign(text);
    const char* const end = text.data() + text.size();
    unsigned int magnitude = 0;
    const auto [parsed, error] = std::from_chars(text.data(), end, magnitude);
    if (error != std::errc() || parsed != end)
    {
        return {};
    }
    if constexpr (std::is_signed_v<Integer>)
    {
        constexpr unsigned int most = std::numeric_limits<Integer>::max();
        if (magnitude > (isNegative ? most + 1 : most))
        {
            return {};
        }
    }
    return static_cast<Integer>(isNegative ? 0 - magnitude : magnitude);
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase)
{
    const auto lower = [](char letter)
    {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return std::ranges::equal(text, lowerCase, {}, lower);
}

// "inf", "infinity", "nan" and "nan(...)" with a sign or without one.
std::optional<double> parseNotFinite(std::string_view text)
{
    const double sign = takeSign(text) ? -1 : 1;
    if (equalsIgnoringCase(text, "inf") || equalsIgnoringCase(text, "infinity"))
    {
        return std::copysign(std::numeric_limits<double>::infinity(), sign);
    }
    if (!equalsIgnoringCase(text.substr(0, 3), "nan"))
    {
        return {};
    }
    text.remove_prefix(3);
    if (text.empty() || (text.size() > 1 && text.starts_with('(') && text.ends_with(')')))
    {
        return std::copysign(std::numeric_limits<double>::quiet_NaN(), sign);
    }
    return {};
}

std::optional<double> parseDouble(const std::string& text)
{
    if (const auto value = parseNotFinite(text))
    {
        return value;
    }
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    // Otherwise the stream would take a lack of memory for a text that is no number.
    stream.exceptions(std::ios::badbit);
    double value = 0;
    if (!(stream >> std::noskipws >> value) || stream.get() != std::istringstream::traits_type::eof())
    {
        return {};
    }
    return value;
}

template <typename T>
std::optional<T> parse(const std::string& text)
{
    if constexpr (std::is_same_v<T, double>)
    {
        return parseDouble(text);
    }
    else
    {
        return parseInteger<T>(text);
    }
}

template <typename T>
T convert(const std::string& text)
{
    if constexpr (std::is_same_v<T, std::string>)
    {
        return text;
    }
    else if constexpr (std::is_same_v<T, bool>)
    {
        return boost::lexical_cast<bool>(text);
    }
    else
    {
        const std::optional<T> value = parse<T>(text);
        if (!value)
        {
            boost::throw_exception(boost::bad_lexical_cast(typeid(std::string), typeid(T)));
        }
        return *value;
    }
}

} // namespace

SetAttributecommandFactory::SetAttributecommandFactory(std::shared_ptr<Object> object)
    : valdaneRootObject(rootOf(object)), valdaneObjectPath(object->getPath(RequestedPathType::FromRoot))
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
    const std::shared_ptr<Object> object = findObject(valdaneRootObject, valdaneObjectPath);
    if (description == nullptr)
    {
        throw VdException("No attribute of '" + valdaneObjectPath.toString() + "' was given.");
    }
    const std::shared_ptr<Object> root = valdaneRootObject.lock();
    const Path attributePath =
        object->getPath(root.get(), description->getName(), RequestedPathType::FromRoot);
    const T value = convert<T>(valueText);
    const auto createOwn = description->getCommandCreator();
    if (!createOwn)
    {
        return std::make_shared<SetAttributeCmd<T>>(valdaneRootObject, attributePath, value,
                                                    commandDescription);
    }
    return createOwn(root, attributePath, value, commandDescription);
}

} // namespace Valdane
