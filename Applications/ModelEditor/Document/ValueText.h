#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ModelEditor
{

/// The type of a value that is written as text.
enum class ValueType
{
    Int,
    UnsignedInt,
    Double,
    Bool,
    String,
};

/// The type that @p text has, white space included:
/// - `true` and `false` are bool;
/// - an optional sign and decimal digits are int if they fit, else (without sign) unsigned int if they fit,
///   else double if they are at most 15 digits, which a double holds exactly;
/// - a decimal literal with a point or an exponent is double, if it is within the range of one;
/// - all else is a string, also what other programs take for numbers: `0x1F`, `nan`, `1,5`, ` 1`.
ValueType typeOf(std::string_view text);

/// As C++ calls it: `int`, `unsigned int`, `double`, `bool`, `string`.
std::string_view nameOf(ValueType type);

/// The value of type T (int, unsigned int, double, bool, std::string) of @p text; nothing if it has none.
template <typename T>
std::optional<T> valueOf(std::string_view text);
template <>
std::optional<int> valueOf<int>(std::string_view text);
template <>
std::optional<unsigned int> valueOf<unsigned int>(std::string_view text);
template <>
std::optional<double> valueOf<double>(std::string_view text);
template <>
std::optional<bool> valueOf<bool>(std::string_view text);
template <>
std::optional<std::string> valueOf<std::string>(std::string_view text);

/// The shortest text of which valueOf gives exactly @p value, and typeOf T if the value allows it: a double
/// without fraction is written `4.0`.
///
/// @throws VdException if @p value is a double that is not finite.
template <typename T>
std::string textOf(const T& value);
template <>
std::string textOf<int>(const int& value);
template <>
std::string textOf<unsigned int>(const unsigned int& value);
template <>
std::string textOf<double>(const double& value);
template <>
std::string textOf<bool>(const bool& value);
template <>
std::string textOf<std::string>(const std::string& value);

/// The text of @p value in the place of @p original: that text itself if it has exactly this value, else
/// textOf(value).
///
/// So the text depends only on the value and on the original, and whoever sets values back gets the texts
/// back.
template <typename T>
std::string textLike(std::string_view original, const T& value);

} // namespace ModelEditor
