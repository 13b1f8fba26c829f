#pragma once

#include "Applications/ModelEditor/Document/SourceText.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace ModelEditor
{

/// Where the attributes of an element stand in the source text.
struct StartTag
{
    struct Attribute
    {
        std::string_view name;
        Span whole; ///< with the white space before it, up to and with the closing quote
        Span value; ///< between the quotes
    };

    std::vector<Attribute> attributes;
    std::size_t end = 0; ///< behind the last attribute, or behind the element's name

    /// The start tag whose element name is at @p nameOffset of @p source, which must be well-formed there.
    ///
    /// @throws std::out_of_range if the text ends within the tag.
    static StartTag read(std::string_view source, std::size_t nameOffset);

    /// The attribute @p name, null if there is none.
    const Attribute* find(std::string_view name) const;
};

} // namespace ModelEditor
