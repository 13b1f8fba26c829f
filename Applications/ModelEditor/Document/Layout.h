#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <optional>
#include <string>

namespace ModelEditor
{

class XmlDocument;

/// The white space that new children of an element get, so that they stand as their neighbours do.
struct Layout
{
    std::string before; ///< each of them
    std::string tail;   ///< behind them if there are no other children
};

/// @param neighbour  the chunk that they are to stand like; nothing if there is none.
/// @throws std::bad_alloc
Layout layoutAt(XmlDocument& document, pugi::xml_node parent, std::optional<std::size_t> neighbour);

/// By how much the children of an element are indented more than the element.
std::string indentOf(XmlDocument& document);

} // namespace ModelEditor
