#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"

#include <pugixml.hpp>

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace ModelEditor
{

/// A node that can be moved: the child of an element.
struct Child
{
    std::shared_ptr<XmlObject> parent;
    pugi::xml_node node;
    std::size_t index; ///< among the chunks of the parent
};

/// Whether @p selected is an attribute.
bool isAttribute(const Selected& selected);

/// Finds which children of their parents selected nodes are.
///
/// Cost: the first lookup in a parent counts its children up to the node, the second counts all, others count nothing.
/// Ownership: refers to the model, in which nothing may come or go meanwhile. Thread: one at a time.
class ChildFinder
{
public:
    explicit ChildFinder(XmlModel& model);

    /// @throws VdException that says what @p selected is, if it is an attribute, the root, or outside the root.
    Child require(const Selected& selected);

    /// Those of @p nodes that are not below others of them.
    ///
    /// @throws what require() throws.
    std::vector<Child> requireAll(const std::vector<Selected>& nodes);

private:
    std::size_t indexOf(const XmlObject& parent, pugi::xml_node node);

    XmlModel& searched;
    // By parent: the index of each of its nodes. Empty after the first lookup.
    std::unordered_map<const void*, std::unordered_map<const void*, std::size_t>> indices;
};

/// Nodes by their identity.
using NodeSet = std::unordered_set<const void*>;

NodeSet nodesOf(const std::vector<Child>& children);

/// Whether @p node is one of @p nodes, or below one.
bool isIn(pugi::xml_node node, const NodeSet& nodes);

/// Parts @p all, each of which has a `parent`, into those that have the same one. They keep their order.
template <typename T>
std::vector<std::vector<T>> byParent(const std::vector<T>& all)
{
    std::vector<std::vector<T>> groups;
    std::unordered_map<const XmlObject*, std::size_t> known;
    for (const auto& one : all)
    {
        const auto [found, isNew] = known.try_emplace(one.parent.get(), groups.size());
        if (isNew)
        {
            groups.emplace_back();
        }
        groups[found->second].push_back(one);
    }
    return groups;
}

/// The places of @p children, which have the same parent and stand in the order of the document.
ChunkRanges rangesOf(const std::vector<Child>& children);

} // namespace ModelEditor
