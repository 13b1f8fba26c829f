#include "Applications/ModelEditor/Document/ImportMarkup.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/StartTag.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace ModelEditor
{

namespace
{

// A declaration of the old root that the new one lacks.
struct Declaration
{
    std::string name;
    std::string markup;
    std::string usedAs; // what is in the text of a module that uses it
};

std::vector<pugi::xml_node> modulesOf(XmlDocument& document)
{
    std::vector<pugi::xml_node> modules;
    for (const auto node : document.getRootElement().children())
    {
        if (node.type() == pugi::node_element)
        {
            modules.push_back(node);
        }
    }
    if (modules.empty())
    {
        throw Valdane::VdException(document.getName() + ": the root element has no elements below it");
    }
    return modules;
}

void requireNoTexts(XmlDocument& document)
{
    for (const auto node : document.getRootElement().children())
    {
        const bool isText = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
        if (isText && !isLayout(node))
        {
            document.complain(document.locate(node.value()).offset, "text beside the elements to import");
        }
    }
}

std::vector<Declaration> findDeclarations(XmlDocument& from, pugi::xml_node into)
{
    const auto root = from.getRootElement();
    const auto text = from.getSource().getOriginal();
    std::vector<Declaration> declarations;
    for (const auto& attribute : StartTag::read(text, from.locate(root.name()).offset).attributes)
    {
        const std::string name(attribute.name);
        const std::string_view value = root.attribute(name.c_str()).value();
        if (isNamespaceDeclaration(name) && value != into.attribute(name.c_str()).value())
        {
            const auto quoted = text.substr(attribute.value.offset - 1, attribute.value.length + 2);
            const auto colon = name.find(':');
            declarations.push_back(
                {.name = name,
                 .markup = " " + name + "=" + std::string(quoted),
                 .usedAs = colon == std::string::npos ? "" : name.substr(colon + 1) + ":"});
        }
    }
    if (!root.attribute("xmlns") && *into.attribute("xmlns").value() != '\0')
    {
        declarations.push_back({.name = "xmlns", .markup = " xmlns=\"\"", .usedAs = ""});
    }
    return declarations;
}

// Anywhere in the text, because values have prefixes, too; a declaration too many does no harm.
void declare(const std::vector<Declaration>& declarations, XmlDocument& from,
             const std::vector<pugi::xml_node>& modules)
{
    const auto text = from.getSource().getOriginal();
    std::size_t end = from.getContent().offset + from.getContent().length;
    for (auto module = modules.rbegin(); module != modules.rend(); ++module)
    {
        const std::size_t start = from.locate(module->name()).offset;
        const auto tag = StartTag::read(text, start);
        std::string markup;
        for (const auto& declaration : declarations)
        {
            const bool isUsed =
                text.substr(start, end - start).find(declaration.usedAs) != std::string_view::npos;
            markup += isUsed && tag.find(declaration.name) == nullptr ? declaration.markup : "";
        }
        if (!markup.empty())
        {
            from.getSource().replace({.offset = tag.end, .length = 0}, markup);
        }
        end = start;
    }
}

// Behind the comment, the CDATA section or the instruction at the start of the text; 0 if there is none.
std::size_t lengthOfLiteral(std::string_view text)
{
    struct Literal
    {
        std::string_view start;
        std::string_view end;
    };

    constexpr std::array literals{Literal{"<!--", "-->"}, Literal{"<![CDATA[", "]]>"}, Literal{"<?", "?>"}};
    const auto* const found = std::ranges::find_if(literals, [&](const Literal& literal)
                                                   { return text.starts_with(literal.start); });
    return found == literals.end() ? 0 : text.find(found->end, found->start.size()) + found->end.size();
}

// The name of the first entity that XML does not bring along; empty if there is none.
std::string_view findEntity(std::string_view markup)
{
    constexpr std::array<std::string_view, 5> own{"amp", "lt", "gt", "quot", "apos"};
    while (!markup.empty())
    {
        if (markup.front() == '&' && markup[1] != '#')
        {
            const auto name = markup.substr(1, markup.find(';') - 1);
            if (std::ranges::find(own, name) == own.end())
            {
                return name;
            }
        }
        const auto next = markup.find_first_of("<&", std::max<std::size_t>(lengthOfLiteral(markup), 1));
        markup.remove_prefix(std::min(next, markup.size()));
    }
    return {};
}

std::string_view documentTypeOf(pugi::xml_node document)
{
    const auto type =
        document.find_child([](pugi::xml_node node) { return node.type() == pugi::node_doctype; });
    return type.value();
}

} // namespace

ImportMarkup takeModules(XmlDocument& from, pugi::xml_node into)
{
    const auto modules = modulesOf(from);
    requireNoTexts(from);
    declare(findDeclarations(from, into), from, modules);
    ImportMarkup result{.markup = from.getSource().getCurrent(from.getContent()),
                        .moduleCount = modules.size()};
    const std::string entity(findEntity(result.markup));
    if (!entity.empty() && documentTypeOf(from.getDocumentNode()) != documentTypeOf(into.root()))
    {
        throw Valdane::VdException(from.getName() + ": what &" + entity +
                                   "; stands for is not said in this model, whose document type differs");
    }
    return result;
}

} // namespace ModelEditor
