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
    Text,
};

/// The type that @p text has, white space included:
/// - `true` and `false` are bool;
/// - an optional sign and decimal digits are int if they fit, else (without sign) unsigned int if they fit,
///   else double if they are at most 15 digits, which a double holds exactly;
/// - a decimal literal with a point or an exponent is double, if it is within the range of one;
/// - all else is text, also what other programs take for numbers: `0x1F`, `nan`, `1,5`, ` 1`.
ValueType typeOf(std::string_view text);

/// What people call it: `int`, `unsigned int`, `double`, `bool`, `text`.
std::string_view nameOf(ValueType type);

/// Whether @p text can stand where a value of that type is wanted: a whole number also where a double is, and 0 and 1
/// where a bool is.
bool isOf(ValueType type, std::string_view text);

/// The value of type T (int, unsigned int, double, bool) of @p text; nothing if it has none.
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

/// The shortest text of which valueOf gives exactly @p value; without fraction it is written `4.0`, so that it has the
/// type double.
///
/// @throws VdException if @p value is not finite.
std::string textOf(double value);

} // namespace ModelEditor
