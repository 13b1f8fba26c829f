#pragma once

#include <functional>

namespace ModelEditor
{

class XmlDocument;
struct XmlChange;
struct XmlChildren;

/// What the objects of one model share.
struct XmlContext
{
    XmlDocument& document;
    /// Called after every change of a value; may be empty.
    std::function<void(const XmlChange&)> changed;
    /// Called for each change of which children an element has; may be empty, and throws nothing.
    std::function<void(const XmlChildren&)> childrenChanged{};
};

} // namespace ModelEditor
