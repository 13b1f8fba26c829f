#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>

// How nodes come into a document and go again.
//
// An element has chunks: its children that are no layout, each with the layout before it. They are saved in the order of
// the table, and each of them as it stands in its source text. So a child that is put in or taken out changes the table
// and the nodes, and never a source text. The nodes of an element are, for each chunk, one for the layout if there is
// some and the one of the chunk itself; then one for the layout behind the last chunk.
//
// Nodes cannot leave the parser's tree and come back. What is put in is always a copy; where it stands in the source
// texts is kept in a table, because the parser's pointers into the text are not copied.

namespace ModelEditor
{

namespace
{

[[noreturn]] void failToParse(const pugi::xml_parse_result& result, const std::string& name)
{
    if (result.status == pugi::status_out_of_memory)
    {
        throw std::bad_alloc();
    }
    throw Valdane::VdException(name + ": " + result.description());
}

// The text from which the node was parsed, if that starts with the node.
const char* textFrom(pugi::xml_node node)
{
    switch (node.type())
    {
    case pugi::node_element:
        return node.name() - std::string_view("<").size();
    case pugi::node_pi:
        return node.name() - std::string_view("<?").size();
    case pugi::node_comment:
        return node.value() - std::string_view("<!--").size();
    case pugi::node_cdata:
        return node.value() - std::string_view("<![CDATA[").size();
    default:
        return node.value();
    }
}

// What ends the line before the first node, so that an end tag stands on its own line if the nodes do.
std::string lineEndOf(std::string_view markup)
{
    const auto layout = markup.substr(0, markup.find_first_not_of(" \t\r\n"));
    return std::string(layout.substr(0, layout.find('\n') + 1));
}

void requireDone(bool done)
{
    if (!done)
    {
        throw std::bad_alloc();
    }
}

pugi::xml_node insertBefore(pugi::xml_node parent, pugi::xml_node behind, pugi::xml_node_type type)
{
    return behind ? parent.insert_child_before(type, behind) : parent.append_child(type);
}

void insertLayout(pugi::xml_node parent, pugi::xml_node behind, const std::string& layout)
{
    if (!layout.empty())
    {
        auto node = insertBefore(parent, behind, pugi::node_pcdata);
        requireDone(!node.empty() && node.set_value(withPlainLineEnds(layout).c_str()));
    }
}

std::string_view trimmedAtEnd(std::string_view markup)
{
    return markup.substr(0, markup.find_last_not_of(" \t\r\n") + 1);
}

} // namespace

void XmlDocument::append(const std::string& markup)
{
    auto root = getRootElement();
    auto& chunks = chunksOf(root);
    const auto last = root.last_child();
    const bool isBehindText = last.type() == pugi::node_pcdata && chunks.tail.empty();
    const auto start = isBehindText ? std::min(markup.find_first_not_of(" \t\r\n"), markup.size()) : 0;
    auto& segment = segments.emplace_back(
        Segment{.source = SourceText(std::string(trimmedAtEnd(std::string_view(markup).substr(start))))});
    const auto text = segment.source.getOriginal();
    try
    {
        const auto result = root.append_buffer(text.data(), text.size(), parseFlags, pugi::encoding_utf8);
        if (!result)
        {
            failToParse(result, name);
        }
        const auto added = readChunks(segment.source, 0);
        const std::string tail = chunks.tail.empty() ? lineEndOf(text) : std::string();
        chunks.all.reserve(chunks.all.size() + added.all.size());
        const auto layoutAtEnd = chunks.tail.empty() ? pugi::xml_node() : last;
        segment.parsed = textFrom(last ? last.next_sibling() : root.first_child());
        insertLayout(root, {}, tail);
        root.append_move(layoutAtEnd);
        chunks.all.insert(chunks.all.end(), added.all.begin(), added.all.end());
        segment.hasTail = !tail.empty();
        chunks.tail += tail;
    }
    catch (...)
    {
        removeNodes(last ? last.next_sibling() : root.first_child(), {});
        segments.pop_back();
        throw;
    }
}

pugi::xml_node XmlDocument::getLastAppended() noexcept
{
    if (segments.empty())
    {
        return {};
    }
    const auto root = getRootElement();
    const auto& chunks = chunksOf(root);
    const auto first = std::ranges::find(chunks.all, &segments.back().source, &Chunk::source);
    return firstNodeOf(root, chunks, static_cast<std::size_t>(first - chunks.all.begin()));
}

std::string XmlDocument::removeLast() noexcept
{
    auto root = getRootElement();
    auto& chunks = chunksOf(root);
    auto& segment = segments.back();
    const auto layoutAtEnd = chunks.tail.empty() || segment.hasTail ? pugi::xml_node() : root.last_child();
    removeNodes(getLastAppended(), layoutAtEnd);
    chunks.all.erase(std::ranges::find(chunks.all, &segment.source, &Chunk::source), chunks.all.end());
    if (segment.hasTail)
    {
        chunks.tail.clear();
    }
    chunkTable.forget(segment.source);
    auto markup = segment.source.release();
    segments.pop_back();
    return markup;
}

const Chunks& XmlDocument::getChunks(pugi::xml_node parent)
{
    return chunksOf(parent);
}

Chunks& XmlDocument::chunksOf(pugi::xml_node element)
{
    const auto place = locate(element);
    return chunkTable.of(place.source, place.offset);
}

std::size_t XmlDocument::indexOf(pugi::xml_node node)
{
    const auto& chunks = chunksOf(node.parent()).all;
    auto child = node.parent().first_child();
    std::size_t index = 0;
    for (; index < chunks.size(); ++index)
    {
        child = chunks[index].layout.empty() ? child : child.next_sibling();
        if (child == node)
        {
            break;
        }
        child = child.next_sibling();
    }
    return index;
}

pugi::xml_node XmlDocument::getNode(pugi::xml_node parent, std::size_t index)
{
    const auto& chunks = chunksOf(parent);
    const auto node = firstNodeOf(parent, chunks, index);
    return chunks.all[index].layout.empty() ? node : node.next_sibling();
}

std::string XmlDocument::getMarkup(const Chunk& chunk) const
{
    return chunkTable.getCurrent(*chunk.source, chunk.node);
}

Cutting XmlDocument::parse(const std::string& markup, const std::optional<std::string>& layout)
{
    encoding.requireAll(markup, "the markup");
    Cutting cutting{.nodes = std::make_unique<pugi::xml_document>()};
    auto& text = inserted.emplace_back(markup);
    try
    {
        // In an element: at the start of a document the parser drops a byte order mark.
        const auto wrapped = "<x>" + markup + "</x>";
        const auto result =
            cutting.nodes->load_buffer(wrapped.data(), wrapped.size(), parseFlags, pugi::encoding_utf8);
        if (!result)
        {
            failToParse(result, name);
        }
        auto holder = cutting.nodes->first_child();
        const char* const start = textFrom(holder.first_child());
        while (const auto child = holder.first_child())
        {
            requireDone(!cutting.nodes->append_move(child).empty());
        }
        cutting.nodes->remove_child(holder);
        const auto locateIn = [&](const void* identity, const char* place)
        {
            cutting.places.emplace(
                identity, Location{.source = &text, .offset = static_cast<std::size_t>(place - start)});
        };
        for (auto node = cutting.nodes->first_child(); node; node = nextNode(node))
        {
            locateIn(node.internal_object(), nameOrValue(node));
            for (const auto attribute : node.attributes())
            {
                locateIn(attribute.internal_object(), attribute.value());
            }
        }
        cutting.chunks = readChunks(text, 0).all;
        auto node = cutting.nodes->first_child();
        for (auto& chunk : cutting.chunks)
        {
            if (!chunk.layout.empty())
            {
                const auto next = node.next_sibling();
                cutting.nodes->remove_child(node);
                node = next;
            }
            chunk.layout = layout.value_or(chunk.layout);
            node = node.next_sibling();
        }
        while (node)
        {
            const auto next = node.next_sibling();
            cutting.nodes->remove_child(node);
            node = next;
        }
    }
    catch (...)
    {
        inserted.pop_back();
        throw;
    }
    return cutting;
}

Cutting XmlDocument::copy(pugi::xml_node parent, std::size_t index, std::size_t count, Copies& copies)
{
    const auto& chunks = chunksOf(parent);
    Cutting cutting{.nodes = std::make_unique<pugi::xml_document>()};
    auto node = firstNodeOf(parent, chunks, index);
    for (std::size_t i = index; i < index + count; ++i)
    {
        cutting.chunks.push_back(chunks.all[i]);
        node = chunks.all[i].layout.empty() ? node : node.next_sibling();
        copyTree(node, cutting.nodes->append_child(node.type()), copies);
        findPlaces(node, copies.there, cutting.places);
        node = node.next_sibling();
    }
    cutting.tail = count == chunks.all.size() ? chunks.tail : std::string();
    return cutting;
}

Copies XmlDocument::insert(pugi::xml_node parent, std::size_t index, const Cutting& cutting)
{
    auto& chunks = chunksOf(parent);
    const auto behind = firstNodeOf(parent, chunks, index);
    const auto before = behind ? behind.previous_sibling() : parent.last_child();
    const auto firstMade = [&]
    {
        return before ? before.next_sibling() : parent.first_child();
    };
    Copies copies;
    try
    {
        auto original = cutting.nodes->first_child();
        for (const auto& chunk : cutting.chunks)
        {
            insertLayout(parent, behind, chunk.layout);
            copyTree(original, insertBefore(parent, behind, original.type()), copies);
            original = original.next_sibling();
        }
        const bool isFirst = chunks.all.empty();
        insertLayout(parent, behind, isFirst ? cutting.tail : std::string());
        std::string tail = isFirst ? cutting.tail : std::string();
        chunks.all.reserve(chunks.all.size() + cutting.chunks.size());
        auto added = cutting.chunks;
        keepPlaces(cutting, copies.there);
        // From here on nothing fails.
        chunks.all.insert(chunks.all.begin() + static_cast<std::ptrdiff_t>(index),
                          std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
        if (isFirst)
        {
            chunks.tail = std::move(tail);
        }
    }
    catch (...)
    {
        removeNodes(firstMade(), behind);
        throw;
    }
    return copies;
}

void XmlDocument::remove(pugi::xml_node parent, std::size_t index, std::size_t count) noexcept
{
    auto& chunks = chunksOf(parent);
    const bool areAll = count == chunks.all.size();
    removeNodes(firstNodeOf(parent, chunks, index),
                areAll ? pugi::xml_node() : firstNodeOf(parent, chunks, index + count));
    const auto first = chunks.all.begin() + static_cast<std::ptrdiff_t>(index);
    chunks.all.erase(first, first + static_cast<std::ptrdiff_t>(count));
    if (areAll)
    {
        chunks.tail.clear();
    }
}

void XmlDocument::removeNodes(pugi::xml_node first, pugi::xml_node end) noexcept
{
    while (first && first != end)
    {
        const auto next = first.next_sibling();
        forgetPlaces(first);
        removeTree(first);
        first = next;
    }
}

// The layout of that chunk if it has some; the layout at the end, or nothing, if there is no such chunk.
pugi::xml_node XmlDocument::firstNodeOf(pugi::xml_node parent, const Chunks& chunks, std::size_t index) const
{
    auto node = parent.first_child();
    for (std::size_t i = 0; i < index; ++i)
    {
        node = chunks.all[i].layout.empty() ? node : node.next_sibling();
        node = node.next_sibling();
    }
    return node;
}

} // namespace ModelEditor
