#include "Applications/ModelEditor/Document/XmlDocument.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/StartTag.h"
#include "Applications/ModelEditor/Document/WellFormedCheck.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string_view>

namespace ModelEditor
{

namespace
{

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

} // namespace

pugi::xml_node nextNode(pugi::xml_node node)
{
    if (const auto child = node.first_child(); !child.empty())
    {
        return child;
    }
    auto sibling = node.next_sibling();
    while (sibling.empty() && !node.empty())
    {
        node = node.parent();
        sibling = node.next_sibling();
    }
    return sibling;
}

pugi::xml_node elementFrom(pugi::xml_node node)
{
    while (node.type() != pugi::node_element && !node.empty())
    {
        node = node.next_sibling();
    }
    return node;
}

bool isLayout(pugi::xml_node node)
{
    const bool isOnly = !node.previous_sibling() && !node.next_sibling();
    return node.type() == pugi::node_pcdata && !isOnly && isBlank(node.value());
}

XmlDocument::XmlDocument(const std::string& bytes, const std::string& fileName, std::size_t firstLine)
    : name(fileName),
      encoding(Encoding::of(bytes)),
      source(decoded(encoding, bytes, fileName)),
      parsed(source.getOriginal()),
      lineOffset(firstLine)
{
    parse();
    requireOneRoot();
    requireNothingBehind();
    requireWellFormed();
    findContent();
}

XmlDocument::~XmlDocument() = default;

const std::string& XmlDocument::getName() const noexcept
{
    return name;
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

Span XmlDocument::getContent() const noexcept
{
    return content;
}

const Encoding& XmlDocument::getEncoding() const noexcept
{
    return encoding;
}

std::string XmlDocument::toBytes() const
{
    return encoding.encode(getCurrent());
}

MarkupWarnings XmlDocument::findWarnings() const
{
    // A copy of a large file takes as long as a look at it.
    return chunkTable.isEmpty() && !source.isChanged()
               ? ModelEditor::findWarnings(source.getOriginal(), name, encoding)
               : ModelEditor::findWarnings(getCurrent(), name, encoding);
}

// What the encoding lacks is told when it is put in.
void XmlDocument::requireNoWarnings(const std::string& markup) const
{
    const auto warnings = ModelEditor::findWarnings(markup, "markup", Encoding::of({}), getProlog());
    if (!warnings.texts.empty())
    {
        throw Valdane::VdException(warnings.texts.front());
    }
}

void XmlDocument::requireKnownEntities(std::string_view markup)
{
    for (const auto& entity : findEntities(markup))
    {
        const std::string reference = "&" + entity + ";";
        const bool isKnown = knownEntities.contains(entity) || isDeclared(entity, getProlog()) ||
                             source.getOriginal().find(reference) != std::string_view::npos;
        if (!isKnown)
        {
            throw Valdane::VdException(reference + " is not declared");
        }
        knownEntities.insert(entity);
    }
}

std::string_view XmlDocument::getProlog() const
{
    const auto start = offsetOf(getRootElement().name()) - std::string_view("<").size();
    return std::string_view(source.getOriginal()).substr(0, start);
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

// What the parser lets pass.
void XmlDocument::requireWellFormed() const
{
    WellFormedCheck check(*this, source.getOriginal(), parsed.data());
    for (auto node = nextNode(document); !node.empty(); node = nextNode(node))
    {
        check.require(node);
    }
}

void XmlDocument::complainOfText(std::size_t offset) const
{
    complain(source.getOriginal().find_first_not_of(" \t\r\n", offset), "text outside the root element");
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

// While nobody has changed a value yet.
void XmlDocument::findContent()
{
    const auto text = source.getOriginal();
    const auto root = getRootElement();
    const auto end = text.find_first_of("/>", StartTag::read(text, offsetOf(root.name())).end);
    if (text[end] == '/')
    {
        content = {.offset = end, .length = 0};
        return;
    }
    const auto layoutAtEnd = isLayout(root.last_child()) ? root.last_child() : pugi::xml_node();
    content.offset = end + 1;
    content.length = (layoutAtEnd ? offsetOf(layoutAtEnd.value()) : findEndTag()) - content.offset;
}

// Where the end tag of the root starts: the last one before what follows the root.
std::size_t XmlDocument::findEndTag() const
{
    const auto behind = getRootElement().next_sibling();
    const char* const text = *behind.name() == '\0' ? behind.value() : behind.name();
    return source.getOriginal().rfind("</", behind ? offsetOf(text) - 1 : std::string_view::npos);
}

std::string XmlDocument::getCurrent() const
{
    return chunkTable.getCurrent(source, {.offset = 0, .length = source.getOriginal().size()});
}

void XmlDocument::complain(std::size_t offset, const std::string& what) const
{
    const auto before = source.getOriginal().substr(0, offset);
    const auto line = std::ranges::count(before, '\n') + static_cast<std::ptrdiff_t>(lineOffset);
    const auto column = offset - (before.rfind('\n') + 1) + 1;
    throw Valdane::VdException(name + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                               what);
}

} // namespace ModelEditor
