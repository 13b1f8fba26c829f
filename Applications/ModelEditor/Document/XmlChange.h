#pragma once

#include <pugixml.hpp>

#include <optional>
#include <span>
#include <string>

namespace ModelEditor
{

class XmlObject;

/// One value of a model that has changed, or one element that came or went.
struct XmlChange
{
    const XmlObject& object;
    std::string value; ///< the value, or the element, as an XPath step from the object: `@mass`
    std::optional<std::string>
        before;                       ///< the value, or what a person calls the element; nothing if it is new
    std::optional<std::string> after; ///< as before; nothing if it is gone

    /// What the file had when it was opened; nothing for what has no type, such as a name.
    std::optional<std::string> original{};

    /// The module that came, or went as it had been imported; null if something else has changed.
    const XmlObject* child = nullptr;
};

/// Children of one element that have come, or are about to go.
struct XmlChildren
{
    pugi::xml_node parent;
    std::span<const pugi::xml_node> nodes; ///< in the order of the document
    bool haveCome;                         ///< otherwise they go as soon as the listener has returned
};

} // namespace ModelEditor
