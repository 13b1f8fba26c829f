#include "Examples/ModelEditor/XmlDocument.h"

#include "Examples/ModelEditor/Markup.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>
#include <string_view>
#include <vector>

namespace ModelEditor
{

namespace
{

// As a fragment, because otherwise the parser drops text beside the root element instead of refusing it.
constexpr unsigned int parseFlags = pugi::parse_full | pugi::parse_ws_pcdata | pugi::parse_fragment;

std::string decoded(const Encoding& encoding, const std::string& bytes, const std::string& name)
{
    try
    {
        return encoding.decode(bytes);
    }
    catch (const Valdane::VdException& exception)
    {
        throw Valdane::VdException(name + ": " + exception.what());
    }
}

// The next node in document order.
pugi::xml_node next(pugi::xml_node node)
{
    if (!node.first_child().empty())
    {
        return node.first_child();
    }
    while (!node.empty() && node.next_sibling().empty())
    {
        node = node.parent();
    }
    return node.next_sibling();
}

// The second of two attributes with the same name; pugixml takes them.
pugi::xml_attribute repeatedAttribute(pugi::xml_node node)
{
    std::vector<std::string_view> names;
    for (const auto attribute : node.attributes())
    {
        names.emplace_back(attribute.name());
    }
    std::ranges::sort(names);
    const auto twice = std::ranges::adjacent_find(names);
    return twice == names.end() ? pugi::xml_attribute() : node.attribute(std::string(*twice).c_str());
}

} // namespace

XmlDocument::XmlDocument(const std::string& bytes, const std::string& fileName)
    : name(fileName),
      encoding(Encoding::of(bytes)),
      source(decoded(encoding, bytes, fileName)),
      parsed(source.getOriginal())
{
    parse();
    requireOneRoot();
    requireNothingBehind();
    for (auto node = next(document); node; node = next(node))
    {
        requireWellFormed(node);
    }
}

pugi::xml_node XmlDocument::getDocumentNode() const
{
    return document;
}

pugi::xml_node XmlDocument::getRootElement() const
{
    return document.document_element();
}

SourceText& XmlDocument::getSource() noexcept
{
    return source;
}

std::size_t XmlDocument::offsetOf(const char* text) const
{
    const std::less<> before;
    if (before(text, parsed.data()) || !before(text, parsed.data() + parsed.size()))
    {
        throw Valdane::VdException("a text of " + name + " is not where it was");
    }
    return static_cast<std::size_t>(text - parsed.data());
}

bool XmlDocument::isAsciiOnly() const noexcept
{
    return !encoding.isUnicode();
}

std::string XmlDocument::toBytes() const
{
    return encoding.encode(source.getCurrent());
}

void XmlDocument::parse()
{
    if (parsed.empty())
    {
        throw Valdane::VdException(name + ": the file is empty");
    }
    if (const auto nul = parsed.find('\0'); nul != std::string::npos)
    {
        complain(nul, "a NUL character");
    }
    const auto result =
        document.load_buffer_inplace(parsed.data(), parsed.size(), parseFlags, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory)
    {
        throw std::bad_alloc();
    }
    if (result.status == pugi::status_no_document_element)
    {
        throw Valdane::VdException(name + ": the file has no element");
    }
    if (!result)
    {
        complain(static_cast<std::size_t>(std::max<std::ptrdiff_t>(result.offset, 0)), result.description());
    }
}

void XmlDocument::requireOneRoot() const
{
    bool found = false;
    for (const auto node : document.children())
    {
        const bool isText = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
        if (isText && (node.type() == pugi::node_cdata || !isBlank(node.value())))
        {
            complainOfText(offsetOf(node.value()));
        }
        if (node.type() == pugi::node_element && found)
        {
            complain(offsetOf(node.name()), std::string("a second root element, ") + node.name());
        }
        found = found || node.type() == pugi::node_element;
    }
    if (!found)
    {
        throw Valdane::VdException(name + ": the file has no element");
    }
}

// The parser drops text at the end without a word.
void XmlDocument::requireNothingBehind() const
{
    const auto end = source.getOriginal().rfind('>') + 1;
    if (!isBlank(source.getOriginal().substr(end)))
    {
        complainOfText(end);
    }
}

void XmlDocument::complainOfText(std::size_t offset) const
{
    complain(source.getOriginal().find_first_not_of(" \t\r\n", offset), "text outside the root element");
}

// What the parser lets pass.
void XmlDocument::requireWellFormed(pugi::xml_node node) const
{
    if (node.type() == pugi::node_pcdata)
    {
        requireReferences(node.value(), "<");
    }
    for (const auto attribute : node.attributes())
    {
        const std::size_t offset = offsetOf(attribute.value());
        const std::string_view quote = source.getOriginal().substr(offset - 1, 1);
        requireReferences(attribute.value(), quote);
        if (std::string_view(attribute.value()).find('<') != std::string_view::npos &&
            markupAt(offset, quote).find('<') != std::string_view::npos)
        {
            complain(offset, std::string("< in the value of ") + attribute.name());
        }
    }
    if (!node.first_attribute().next_attribute().empty())
    {
        if (const auto repeated = repeatedAttribute(node))
        {
            complain(offsetOf(node.name()),
                     std::string(node.name()) + " has two attributes " + repeated.name());
        }
    }
}

// Only a value that has an ampersand can have a wrong one.
void XmlDocument::requireReferences(const char* value, std::string_view end) const
{
    if (std::string_view(value).find('&') == std::string_view::npos)
    {
        return;
    }
    const std::size_t offset = offsetOf(value);
    const auto markup = markupAt(offset, end);
    for (auto place = markup.find('&'); place != std::string_view::npos; place = markup.find('&', place + 1))
    {
        if (!startsWithReference(markup.substr(place)))
        {
            complain(offset + place, "& that starts no reference");
        }
    }
}

std::string_view XmlDocument::markupAt(std::size_t offset, std::string_view end) const
{
    const auto rest = source.getOriginal().substr(offset);
    return rest.substr(0, rest.find(end));
}

void XmlDocument::complain(std::size_t offset, const std::string& what) const
{
    const auto before = source.getOriginal().substr(0, offset);
    const auto line = std::ranges::count(before, '\n') + 1;
    const auto column = offset - (before.rfind('\n') + 1) + 1;
    throw Valdane::VdException(name + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                               what);
}

} // namespace ModelEditor
