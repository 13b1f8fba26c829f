#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ModelEditor
{

class Encoding;

/// Where in the markup a value stands, which says what has to be escaped in it.
enum class MarkupPlace
{
    DoubleQuoted,
    SingleQuoted,
    Text,
    CData,
};

/// The markup that reads as @p value at @p place.
///
/// In an encoding that has not every character, a character beyond ASCII is written as a reference. CDATA, which
/// knows none, is split around what the encoding lacks.
///
/// @pre @p value passes requireXmlText (not checked).
/// @throws VdException if the encoding lacks even what the markup is written with.
std::string toMarkup(std::string_view value, MarkupPlace place, const Encoding& encoding);

/// The reference `&#8364;` to a character.
std::string referenceTo(std::uint32_t character);

/// @param before  the number of characters that are before @p value in what messages call the value.
/// @throws VdException if @p value has a character that XML cannot hold, or is no UTF-8; it says which character that is.
void requireXmlText(std::string_view value, std::size_t before = 0);

/// Whether @p name is `prefix:name` and may be the name of an attribute that is no namespace declaration.
bool isAnnotationName(std::string_view name);

/// Whether @p name is `prefix:name` or has no prefix, and may be the name of an attribute that is no namespace
/// declaration.
bool isAttributeName(std::string_view name);

/// Whether @p name, of which its letters are known to be right, has no colon or one between two parts: XPath knows no
/// others.
bool isQualifiedName(std::string_view name);

/// Whether the attribute @p name declares a namespace.
bool isNamespaceDeclaration(std::string_view name);

/// Whether @p markup starts with a reference to an entity or a character: `&amp;`, `&#10;`, `&#xE9;`.
bool startsWithReference(std::string_view markup);

/// Whether @p text has nothing but XML's white space.
bool isBlank(std::string_view text);

/// The place behind the first @p wanted in @p text from @p offset on; the end of @p text if there is none.
std::size_t placeBehind(std::string_view text, std::string_view wanted, std::size_t offset);

/// For what the parser answers when it changes a node. @throws std::bad_alloc if @p done is false.
void requireMemory(bool done);

} // namespace ModelEditor
