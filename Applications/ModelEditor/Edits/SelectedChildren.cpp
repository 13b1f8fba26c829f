#include "Applications/ModelEditor/Edits/SelectedChildren.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <utility>

namespace ModelEditor
{

using Valdane::VdException;

bool isAttribute(const Selected& selected)
{
    return selected.node.type() == pugi::node_element && selected.part != Part::Element;
}

ChildFinder::ChildFinder(XmlModel& model) : searched(model) {}

Child ChildFinder::require(const Selected& selected)
{
    const bool isElement = selected.node.type() == pugi::node_element;
    if (isAttribute(selected))
    {
        throw VdException(selected.getAddress() + " is an attribute");
    }
    const bool isRoot = isElement && selected.object == searched.getRoot();
    if (isRoot || selected.node.type() == pugi::node_document)
    {
        throw VdException(selected.getAddress() + " is the root element");
    }
    if (selected.node.parent().type() == pugi::node_document)
    {
        throw VdException("comments and processing instructions outside the root element are not edited");
    }
    auto parent =
        isElement ? std::static_pointer_cast<XmlObject>(selected.object->getOwner()) : selected.object;
    const auto index = indexOf(*parent, selected.node);
    return {.parent = std::move(parent), .node = selected.node, .index = index};
}

std::vector<Child> ChildFinder::requireAll(const std::vector<Selected>& nodes)
{
    std::vector<Child> children;
    for (const auto& selected : nodes)
    {
        children.push_back(require(selected));
    }
    std::erase_if(children,
                  [all = nodesOf(children)](const Child& child) { return isIn(child.node.parent(), all); });
    return children;
}

std::size_t ChildFinder::indexOf(const XmlObject& parent, pugi::xml_node node)
{
    const auto [found, isFirst] = indices.try_emplace(&parent);
    if (isFirst)
    {
        return searched.indexOf(node);
    }
    auto& known = found->second;
    if (known.empty())
    {
        for (const auto child : searched.getNodes(parent))
        {
            known.emplace(child.internal_object(), known.size());
        }
    }
    const auto index = known.find(node.internal_object());
    return index == known.end() ? known.size() : index->second;
}

NodeSet nodesOf(const std::vector<Child>& children)
{
    NodeSet nodes;
    for (const auto& child : children)
    {
        nodes.insert(child.node.internal_object());
    }
    return nodes;
}

bool isIn(pugi::xml_node node, const NodeSet& nodes)
{
    while (node && !nodes.contains(node.internal_object()))
    {
        node = node.parent();
    }
    return !node.empty();
}

ChunkRanges rangesOf(const std::vector<Child>& children)
{
    ChunkRanges ranges;
    for (const auto& child : children)
    {
        if (ranges.empty() || ranges.back().index + ranges.back().count != child.index)
        {
            ranges.push_back({.index = child.index, .count = 0});
        }
        ++ranges.back().count;
    }
    return ranges;
}

} // namespace ModelEditor
