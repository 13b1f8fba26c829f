#include "Applications/ModelEditor/Document/ValueText.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace ModelEditor
{

namespace
{

// Digits of an integer that a double holds exactly, whatever they are.
constexpr std::size_t exactDigits = 15;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string_view withoutSign(std::string_view text)
{
    return text.substr(text.starts_with('+') || text.starts_with('-') ? 1 : 0);
}

bool isInteger(std::string_view text)
{
    const auto digits = withoutSign(text);
    return !digits.empty() && std::ranges::all_of(digits, isDigit);
}

// from_chars takes no "+".
template <typename T>
std::optional<T> number(std::string_view text)
{
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    T value{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return whole ? std::optional<T>(value) : std::nullopt;
}

} // namespace

template <>
std::optional<int> valueOf<int>(std::string_view text)
{
    return isInteger(text) ? number<int>(text) : std::nullopt;
}

template <>
std::optional<unsigned int> valueOf<unsigned int>(std::string_view text)
{
    return isInteger(text) ? number<unsigned int>(text) : std::nullopt;
}

template <>
std::optional<double> valueOf<double>(std::string_view text)
{
    const auto body = withoutSign(text);
    const bool isLiteral = body.starts_with('.') || (!body.empty() && isDigit(body.front()));
    return isLiteral ? number<double>(text) : std::nullopt;
}

template <>
std::optional<bool> valueOf<bool>(std::string_view text)
{
    return text == "true" || text == "false" ? std::optional<bool>(text == "true") : std::nullopt;
}

std::string textOf(double value)
{
    if (!std::isfinite(value))
    {
        throw Valdane::VdException("the value is not a finite number");
    }
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    const std::string text(buffer.data(), result.ptr);
    return isInteger(text) ? text + ".0" : text;
}

ValueType typeOf(std::string_view text)
{
    if (valueOf<bool>(text))
    {
        return ValueType::Bool;
    }
    if (valueOf<int>(text))
    {
        return ValueType::Int;
    }
    if (!text.starts_with('+') && valueOf<unsigned int>(text))
    {
        return ValueType::UnsignedInt;
    }
    const bool isExact = !isInteger(text) || withoutSign(text).size() <= exactDigits;
    return isExact && valueOf<double>(text) ? ValueType::Double : ValueType::Text;
}

std::string_view nameOf(ValueType type)
{
    switch (type)
    {
    case ValueType::Int:
        return "int";
    case ValueType::UnsignedInt:
        return "unsigned int";
    case ValueType::Double:
        return "double";
    case ValueType::Bool:
        return "bool";
    default:
        return "text";
    }
}

bool isOf(ValueType type, std::string_view text)
{
    switch (type)
    {
    case ValueType::Int:
        return valueOf<int>(text).has_value();
    case ValueType::UnsignedInt:
        return valueOf<unsigned int>(text).has_value();
    case ValueType::Double:
        return valueOf<double>(text).has_value();
    case ValueType::Bool:
        return valueOf<bool>(text) || text == "0" || text == "1";
    default:
        return true;
    }
}

} // namespace ModelEditor
