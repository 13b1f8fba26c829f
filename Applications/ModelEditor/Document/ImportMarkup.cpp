#include "Applications/ModelEditor/Document/ImportMarkup.h"

#include "Applications/ModelEditor/Document/CodePoint.h"
#include "Applications/ModelEditor/Document/Encoding.h"
#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/MarkupPiece.h"
#include "Applications/ModelEditor/Document/StartTag.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <functional>
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

bool isInReference(std::string_view text, std::size_t offset)
{
    const auto start = text.rfind('&', offset);
    return start != std::string_view::npos && start + 1 + referenceAt(text.substr(start)).size() > offset;
}

bool isInQuotes(std::string_view tag, std::size_t offset)
{
    char quote = '\0';
    for (const char c : tag.substr(0, offset))
    {
        if (quote == '\0')
        {
            quote = c == '"' || c == '\'' ? c : '\0';
        }
        else if (c == quote)
        {
            quote = '\0';
        }
    }
    return quote != '\0';
}

// What no reference can stand in; empty if one can.
std::string_view literalAt(const MarkupPiece& piece, std::size_t offset)
{
    switch (piece.kind)
    {
    case MarkupPiece::Kind::Comment:
        return "a comment";
    case MarkupPiece::Kind::Instruction:
        return "a processing instruction";
    case MarkupPiece::Kind::CData:
        return "";
    default:
        const bool isName = piece.kind == MarkupPiece::Kind::Tag && !isInQuotes(piece.text, offset);
        return isName || isInReference(piece.text, offset) ? "a name" : "";
    }
}

using Complain = std::function<void(std::size_t offset, const std::string& what)>;

// With references to what the encoding lacks.
std::string writtenIn(const Encoding& encoding, const std::string& markup, const Complain& complain)
{
    std::string result;
    std::size_t written = 0;
    MarkupPiece piece;
    std::size_t start = 0;
    auto place = encoding.findMissing(markup);
    for (; place != std::string::npos; place = encoding.findMissing(markup, written))
    {
        while (start + piece.text.size() <= place)
        {
            start += piece.text.size();
            piece = MarkupPiece::at(markup, start);
        }
        const auto character = firstCodePoint(std::string_view(markup).substr(place));
        const auto literal = literalAt(piece, place - start);
        if (complain && (!character || !literal.empty()))
        {
            complain(place, character
                                ? nameOfCharacter(character->value) + " in " + std::string(literal) +
                                      ", which the encoding " + encoding.getName() + " of the model lacks"
                                : "a byte that is no UTF-8");
        }
        const auto reference = referenceTo(character.value_or(CodePoint{}).value);
        result += markup.substr(written, place - written) +
                  (piece.kind == MarkupPiece::Kind::CData ? "]]>" + reference + "<![CDATA[" : reference);
        written = place + character.value_or(CodePoint{.value = 0, .length = 1}).length;
    }
    return result + markup.substr(written);
}

// Told by the place in the file, which nothing has changed yet.
void requireWritable(XmlDocument& from, const Encoding& encoding)
{
    const auto content = from.getContent();
    const std::string text(from.getSource().getOriginal().substr(content.offset, content.length));
    writtenIn(encoding, text,
              [&](std::size_t offset, const std::string& what)
              { from.complain(content.offset + offset, what); });
}

} // namespace

ImportMarkup takeModules(XmlDocument& from, pugi::xml_node into, const Encoding& encoding)
{
    const auto modules = modulesOf(from);
    requireNoTexts(from);
    requireWritable(from, encoding);
    declare(findDeclarations(from, into), from, modules);
    ImportMarkup result{.markup = writtenIn(encoding, from.getSource().getCurrent(from.getContent()), {}),
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
