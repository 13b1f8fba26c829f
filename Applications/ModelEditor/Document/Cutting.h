#pragma once

#include "Applications/ModelEditor/Document/Chunks.h"

#include <pugixml.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace ModelEditor
{

/// How all markup is parsed: nothing is left out. As a fragment, because otherwise the parser drops text beside the
/// root element instead of refusing it.
constexpr unsigned int parseFlags = pugi::parse_full | pugi::parse_ws_pcdata | pugi::parse_fragment;

/// Which nodes and attributes of one tree are which of another one.
///
/// Thread: one at a time.
class NodeMap
{
public:
    /// @throws std::bad_alloc
    void add(pugi::xml_node from, pugi::xml_node to);
    void add(pugi::xml_attribute from, pugi::xml_attribute to);

    /// Empty if @p from was not added.
    pugi::xml_node operator()(pugi::xml_node from) const noexcept;
    pugi::xml_attribute operator()(pugi::xml_attribute from) const noexcept;

private:
    std::unordered_map<const void*, pugi::xml_node> nodes;
    std::unordered_map<const void*, pugi::xml_attribute> attributes;
};

/// Nodes and their copies, both ways.
struct Copies
{
    NodeMap there;
    NodeMap back;
};

/// A place in one of the source texts of a document.
struct Location
{
    SourceText* source;
    std::size_t offset;
};

/// Where nodes and attributes stand that are not where the parser has made them; by their identity.
using Locations = std::unordered_map<const void*, Location>;

/// What a place is told for: the name of an element or instruction, the value of another node.
const char* nameOrValue(pugi::xml_node node);

/// Markup that is to become children of an element.
struct NewChildren
{
    std::size_t index; ///< before which of the chunks that the element has
    std::string markup;
    std::optional<std::string>
        layout{};       ///< white space before each node instead of what the markup has there
    std::string tail{}; ///< white space behind them if there are no other children
};

/// Children of an element that are not in a document just now, but can be put into it.
struct Cutting
{
    ChunkRanges ranges{}; ///< where they belong
    std::vector<Chunk> chunks{};
    std::unique_ptr<pugi::xml_document> nodes{}; ///< a child for each of the chunks
    Locations places{};                          ///< of these nodes and of those below, with their attributes
    std::string tail{}; ///< white space for behind them if there are no other children
};

/// Copies @p from and all below into @p to, which has the same type and nothing in it.
///
/// @throws std::bad_alloc, @p to then having a part of it.
void copyTree(pugi::xml_node from, pugi::xml_node to, Copies& copies);

/// Calls @p act for @p top and all below it, in the order of the document. Uses no stack that grows with the depth.
template <typename Act>
void forTree(pugi::xml_node top, const Act& act)
{
    auto node = top;
    while (true)
    {
        act(node);
        if (const auto child = node.first_child())
        {
            node = child;
            continue;
        }
        while (node != top && !node.next_sibling())
        {
            node = node.parent();
        }
        if (node == top)
        {
            return;
        }
        node = node.next_sibling();
    }
}

/// Removes @p node with all below it. Uses no stack that grows with the depth.
void removeTree(pugi::xml_node node) noexcept;

/// The layout @p markup as the parser has it in a node.
std::string withPlainLineEnds(const std::string& markup);

} // namespace ModelEditor
