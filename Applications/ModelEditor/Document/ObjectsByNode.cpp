#include "Applications/ModelEditor/Document/ObjectsByNode.h"

#include "Applications/ModelEditor/Document/XmlObject.h"

#include <algorithm>
#include <functional>

namespace ModelEditor
{

namespace
{

// The entry of that node in what is sorted by node; null if there is none.
template <typename Entries>
auto* findLasting(Entries& sorted, const void* node) noexcept
{
    const auto place = std::lower_bound(sorted.begin(), sorted.end(), node,
                                        [](const auto& entry, const void* wanted)
                                        { return std::less<>()(entry.node, wanted); });
    return place != sorted.end() && place->node == node ? &*place : nullptr;
}

} // namespace

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
    if (auto* const entry = findLasting(sorted, element.internal_object());
        entry != nullptr && entry->object != nullptr)
    {
        entry->object = nullptr;
        ++removed;
        return;
    }
    added.erase(element.internal_object());
}

XmlObject* ObjectsByNode::find(pugi::xml_node element) const
{
    const void* const node = element.internal_object();
    const auto* const entry = findLasting(sorted, node);
    if (entry != nullptr && entry->object != nullptr)
    {
        return entry->object;
    }
    const auto found = added.find(node);
    return found == added.end() ? nullptr : found->second;
}

std::size_t ObjectsByNode::size() const noexcept
{
    return sorted.size() - removed + added.size();
}

} // namespace ModelEditor
