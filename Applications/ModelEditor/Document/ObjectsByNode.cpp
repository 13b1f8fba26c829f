#include "Applications/ModelEditor/Document/ObjectsByNode.h"

#include "Applications/ModelEditor/Document/XmlObject.h"

#include <algorithm>
#include <functional>

namespace ModelEditor
{

// Mostly the parser has the nodes in memory in the order of the document.
ObjectsByNode::ObjectsByNode(const std::vector<XmlObject*>& lasting)
{
    sorted.reserve(lasting.size());
    for (auto* const object : lasting)
    {
        sorted.push_back({.node = object->getElement().internal_object(), .object = object});
    }
    if (!std::ranges::is_sorted(sorted, std::less<>(), &Entry::node))
    {
        std::ranges::sort(sorted, std::less<>(), &Entry::node);
    }
}

void ObjectsByNode::add(XmlObject& object)
{
    added.emplace(object.getElement().internal_object(), &object);
}

void ObjectsByNode::remove(pugi::xml_node element) noexcept
{
    added.erase(element.internal_object());
}

XmlObject* ObjectsByNode::find(pugi::xml_node element) const
{
    const void* const node = element.internal_object();
    const auto place = std::ranges::lower_bound(sorted, node, std::less<>(), &Entry::node);
    if (place != sorted.end() && place->node == node)
    {
        return place->object;
    }
    const auto found = added.find(node);
    return found == added.end() ? nullptr : found->second;
}

std::size_t ObjectsByNode::size() const noexcept
{
    return sorted.size() + added.size();
}

} // namespace ModelEditor
