#pragma once

#include <optional>
#include <string>

namespace ModelEditor
{

class XmlObject;

/// One value of a model that has changed.
struct XmlChange
{
    const XmlObject& object;
    std::string value;                 ///< the value as an XPath step from the object: `@mass`, `text()`
    std::optional<std::string> before; ///< nothing if the value is new
    std::optional<std::string> after;  ///< nothing if the value is gone
};

} // namespace ModelEditor
