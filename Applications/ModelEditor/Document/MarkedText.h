#pragma once

#include <string>
#include <string_view>

namespace ModelEditor
{

class Encoding;
enum class MarkupPlace;

/// Texts in which references to entities and characters stay what they are: before each stands U+FFFF, which XML
/// cannot hold, so that no other text has it.

/// The text that @p markup says: a value in a file, or what a person enters, in which an ampersand may stand for itself.
///
/// The five entities of XML itself become characters, and so do references to what is written as one anyway: tabs,
/// line ends, and what is not ASCII if the encoding has not every character.
std::string markReferences(std::string_view markup, const Encoding& encoding);

/// Whether a reference is marked in @p text.
bool hasReferences(std::string_view text);

/// @p text as the parser gives it: characters for references to characters, entities as they stand.
///
/// @throws VdException if XML cannot hold a character.
std::string withoutMarks(std::string_view text);

/// @p text as markReferences() reads it: references, and `&amp;` for an ampersand.
std::string toEntered(std::string_view text);

/// @p text as it is written at @p place, see toMarkup().
///
/// @throws VdException if XML or the encoding cannot hold it.
std::string toMarkedMarkup(std::string_view text, MarkupPlace place, const Encoding& encoding);

} // namespace ModelEditor
