#include "Applications/ModelEditor/Document/Cutting.h"

#include "Applications/ModelEditor/Document/Markup.h"

namespace ModelEditor
{

namespace
{

template <typename T>
T lookUp(const std::unordered_map<const void*, T>& table, T from) noexcept
{
    const auto found = table.find(from.internal_object());
    return found == table.end() ? T() : found->second;
}

void copyOne(pugi::xml_node from, pugi::xml_node to, Copies& copies)
{
    requireMemory(!to.empty());
    requireMemory(*from.name() == '\0' || to.set_name(from.name()));
    requireMemory(*from.value() == '\0' || to.set_value(from.value()));
    copies.there.add(from, to);
    copies.back.add(to, from);
    for (const auto attribute : from.attributes())
    {
        auto copy = to.append_attribute(attribute.name());
        requireMemory(!copy.empty() && *copy.name() != '\0' && copy.set_value(attribute.value()));
        copies.there.add(attribute, copy);
        copies.back.add(copy, attribute);
    }
}

} // namespace

void NodeMap::add(pugi::xml_node from, pugi::xml_node to)
{
    nodes.emplace(from.internal_object(), to);
}

void NodeMap::add(pugi::xml_attribute from, pugi::xml_attribute to)
{
    attributes.emplace(from.internal_object(), to);
}

pugi::xml_node NodeMap::operator()(pugi::xml_node from) const noexcept
{
    return lookUp(nodes, from);
}

pugi::xml_attribute NodeMap::operator()(pugi::xml_attribute from) const noexcept
{
    return lookUp(attributes, from);
}

// With the parser's own function one cannot see whether there was memory for all.
void copyTree(pugi::xml_node from, pugi::xml_node to, Copies& copies)
{
    const auto top = from;
    copyOne(from, to, copies);
    while (true)
    {
        if (const auto child = from.first_child())
        {
            from = child;
            to = to.append_child(child.type());
        }
        else
        {
            while (from != top && !from.next_sibling())
            {
                from = from.parent();
                to = to.parent();
            }
            if (from == top)
            {
                return;
            }
            from = from.next_sibling();
            to = to.parent().append_child(from.type());
        }
        copyOne(from, to, copies);
    }
}

// Bottom up, because the parser would nest as deep as the nodes are.
void removeTree(pugi::xml_node node) noexcept
{
    const auto end = node.parent();
    while (node != end)
    {
        while (!node.first_child().empty())
        {
            node = node.first_child();
        }
        auto parent = node.parent();
        parent.remove_child(node);
        node = parent;
    }
}

std::string withPlainLineEnds(const std::string& markup)
{
    std::string text;
    for (std::size_t i = 0; i < markup.size(); ++i)
    {
        const bool isPair = markup[i] == '\r' && i + 1 < markup.size() && markup[i + 1] == '\n';
        text += isPair ? "" : std::string(1, markup[i] == '\r' ? '\n' : markup[i]);
    }
    return text;
}

} // namespace ModelEditor
