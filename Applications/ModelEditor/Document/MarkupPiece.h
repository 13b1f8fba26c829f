#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace ModelEditor
{

/// A stretch of markup that is read in one way, with what starts and ends it.
struct MarkupPiece
{
    enum class Kind
    {
        Text,
        Tag, ///< a start tag or an end tag
        CData,
        Comment,
        Instruction, ///< also the XML declaration
        DocumentType,
    };

    Kind kind = Kind::Text;
    std::string_view text;

    /// The piece at @p offset of @p markup, which the parser has taken.
    ///
    /// @pre @p offset is where a piece starts, and not the end (not checked).
    static MarkupPiece at(std::string_view markup, std::size_t offset);
};

/// The reference at the start of @p markup, without `&` and `;`: `amp`, `#xE9`; empty if there is none.
std::string_view referenceAt(std::string_view markup);

/// The character that @p reference, as referenceAt() gives it, is the number of; nothing if it names an entity, or if
/// no character has that number.
std::optional<std::uint32_t> characterOf(std::string_view reference);

} // namespace ModelEditor
