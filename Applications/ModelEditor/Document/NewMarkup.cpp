#include "Applications/ModelEditor/Document/NewMarkup.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
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

} // namespace ModelEditor
