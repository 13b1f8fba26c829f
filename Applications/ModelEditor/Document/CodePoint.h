#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ModelEditor
{

/// A character of a text in UTF-8.
struct CodePoint
{
    std::uint32_t value = 0;
    std::size_t length = 0; ///< in bytes
};

/// The code point at the start of @p text, which is not empty; nothing if that is no UTF-8.
///
/// Surrogates are code points here, which no XML has.
std::optional<CodePoint> firstCodePoint(std::string_view text);

/// The number of characters of @p text, which is UTF-8.
std::size_t countCharacters(std::string_view text);

/// Whether XML 1.0 can hold the character, as such or by a reference.
bool isXmlCharacter(std::uint32_t character);

/// Whether a name in XML 1.0 may start with the character, or have it further on; a colon may be in both places.
bool isNameStart(std::uint32_t character);
bool isNameCharacter(std::uint32_t character);

/// In UTF-8.
std::string toUtf8(std::uint32_t character);

/// `U+000B`.
std::string nameOfCharacter(std::uint32_t character);

} // namespace ModelEditor
