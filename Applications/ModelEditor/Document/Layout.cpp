#include "Applications/ModelEditor/Document/Layout.h"

#include "Applications/ModelEditor/Document/XmlDocument.h"

#include <string_view>

namespace ModelEditor
{

namespace
{

// From the last line end on; all of it if there is none. Empty lines are not repeated.
std::string lastLine(const std::string& layout)
{
    const auto end = layout.rfind('\n');
    if (end == std::string::npos)
    {
        return layout;
    }
    return layout.substr(end != 0 && layout[end - 1] == '\r' ? end - 1 : end);
}

std::string lineEndOfFile(XmlDocument& document)
{
    const auto text = document.getSource().getOriginal();
    const auto end = text.find('\n');
    if (end == std::string_view::npos)
    {
        return {};
    }
    return end != 0 && text[end - 1] == '\r' ? "\r\n" : "\n";
}

// What is before the element, if it starts a line.
std::string lineStartOf(XmlDocument& document, pugi::xml_node element)
{
    if (element == document.getRootElement())
    {
        return lineEndOfFile(document);
    }
    const auto index = document.indexOf(element);
    const auto line = lastLine(document.getChunks(element.parent()).all.at(index).layout);
    return line.find('\n') == std::string::npos ? std::string() : line;
}

} // namespace

Layout layoutAt(XmlDocument& document, pugi::xml_node parent, std::optional<std::size_t> neighbour)
{
    const auto& chunks = document.getChunks(parent);
    if (neighbour)
    {
        return {.before = lastLine(chunks.all.at(*neighbour).layout), .tail = chunks.tail};
    }
    const auto line = lineStartOf(document, parent);
    return line.empty() ? Layout() : Layout{.before = line + indentOf(document), .tail = line};
}

std::string indentOf(XmlDocument& document)
{
    const auto& chunks = document.getChunks(document.getRootElement()).all;
    const auto line = chunks.empty() ? std::string() : lastLine(chunks.front().layout);
    const auto end = line.find('\n');
    return end == std::string::npos ? "  " : line.substr(end + 1);
}

} // namespace ModelEditor
