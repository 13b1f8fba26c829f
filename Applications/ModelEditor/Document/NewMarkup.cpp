#include "Applications/ModelEditor/Document/NewMarkup.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace ModelEditor
{

namespace
{

std::string prefixOf(std::string_view name)
{
    const auto colon = name.find(':');
    return colon == std::string_view::npos || isNamespaceDeclaration(name)
               ? std::string()
               : std::string(name.substr(0, colon));
}

std::vector<std::string> findUndeclared(pugi::xml_node top)
{
    std::vector<std::string> prefixes;
    const auto look = [&](pugi::xml_node element, const char* name)
    {
        const auto prefix = prefixOf(name);
        const bool isNew = std::ranges::find(prefixes, prefix) == prefixes.end();
        if (!prefix.empty() && isNew && !isDeclaredAt(element, prefix))
        {
            prefixes.push_back(prefix);
        }
    };
    for (auto node = top.first_child(); !node.empty() && node != top; node = nextNode(node))
    {
        if (node.type() != pugi::node_element)
        {
            continue;
        }
        look(node, node.name());
        for (const auto attribute : node.attributes())
        {
            look(node, attribute.name());
        }
    }
    return prefixes;
}

// By their prefixes, which is empty for the one of elements without a prefix; as they are at the element.
std::map<std::string, std::string> namespacesAt(pugi::xml_node element)
{
    std::map<std::string, std::string> found;
    for (; element; element = element.parent())
    {
        for (const auto attribute : element.attributes())
        {
            const std::string_view name = attribute.name();
            if (isNamespaceDeclaration(name))
            {
                const auto colon = std::min(name.find(':'), name.size() - 1);
                found.emplace(name.substr(colon + 1), attribute.value());
            }
        }
    }
    return found;
}

// Also in the value of an attribute: names of types and the like are written there.
bool hasPrefix(pugi::xml_node node, const std::string& prefix)
{
    if (node.type() != pugi::node_element || prefixOf(node.name()) == prefix)
    {
        return node.type() == pugi::node_element;
    }
    return !prefix.empty() &&
           std::ranges::any_of(node.attributes(),
                               [&](pugi::xml_attribute attribute)
                               {
                                   return prefixOf(attribute.name()) == prefix ||
                                          std::string_view(attribute.value()).starts_with(prefix + ":");
                               });
}

// Whether it stands in the element or below, where nothing declares it again.
bool usesPrefix(pugi::xml_node top, const std::string& prefix)
{
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + prefix;
    auto node = top;
    while (true)
    {
        const bool isDeclared = !node.attribute(declaration.c_str()).empty();
        if (!isDeclared && hasPrefix(node, prefix))
        {
            return true;
        }
        if (const auto child = node.first_child(); child && !isDeclared)
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
            return false;
        }
        node = node.next_sibling();
    }
}

} // namespace

NewMarkup readMarkup(const std::string& markup)
{
    requireXmlText(markup);
    if (isBlank(markup))
    {
        throw Valdane::VdException("there is nothing in the markup");
    }
    // On lines of their own, so that places in the markup are what they are for the one who wrote it.
    XmlDocument document("<x>\n" + markup + "\n</x>", "markup", 0);
    const auto root = document.getRootElement();
    NewMarkup result{.text = {}, .prefixes = findUndeclared(root)};
    for (const auto node : root.children())
    {
        const bool isText =
            node.type() == pugi::node_cdata || (node.type() == pugi::node_pcdata && !isBlank(node.value()));
        result.hasTexts = result.hasTexts || isText;
    }
    for (const auto& chunk : document.getChunks(root).all)
    {
        result.text += document.getMarkup(chunk);
    }
    result.text = result.hasTexts ? markup : result.text;
    return result;
}

bool isDeclaredAt(pugi::xml_node element, const std::string& prefix)
{
    const std::string declaration = "xmlns:" + prefix;
    bool isDeclared = prefix == "xml";
    for (; element && !isDeclared; element = element.parent())
    {
        isDeclared = !element.attribute(declaration.c_str()).empty();
    }
    return isDeclared;
}

std::string withNamespaces(std::string markup, pugi::xml_node node, pugi::xml_node target,
                           const Encoding& encoding)
{
    if (node.type() != pugi::node_element)
    {
        return markup;
    }
    const auto there = namespacesAt(target);
    auto here = namespacesAt(node.parent());
    if (there.contains(""))
    {
        here.emplace("", "");
    }
    std::string declarations;
    for (const auto& [prefix, name] : here)
    {
        const auto found = there.find(prefix);
        const bool isSame = found == there.end() ? prefix.empty() && name.empty() : found->second == name;
        if (!isSame && usesPrefix(node, prefix))
        {
            declarations += (prefix.empty() ? " xmlns" : " xmlns:" + prefix) + "=\"" +
                            toMarkup(name, MarkupPlace::DoubleQuoted, encoding) + "\"";
        }
    }
    return markup.insert(markup.find_first_of(" \t\r\n/>"), declarations);
}

} // namespace ModelEditor
