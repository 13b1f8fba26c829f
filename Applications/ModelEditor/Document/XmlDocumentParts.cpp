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

// Adds the node to those that were made, which have room for it.
void insertLayout(pugi::xml_node parent, pugi::xml_node behind, const std::string& layout,
                  std::vector<pugi::xml_node>& made)
{
    if (!layout.empty())
    {
        made.push_back(insertBefore(parent, behind, pugi::node_pcdata));
        requireDone(!made.back().empty() && made.back().set_value(withPlainLineEnds(layout).c_str()));
    }
}

// The node of the chunk whose layout, if it has some, is the node `first`.
pugi::xml_node nodeOf(const Chunk& chunk, pugi::xml_node first)
{
    return chunk.layout.empty() ? first : first.next_sibling();
}

// `first` is the first node of the chunk `from`; returns that of the chunk `to`. That is the layout at the end, or nothing,
// if there is no such chunk.
pugi::xml_node skip(pugi::xml_node first, const Chunks& chunks, std::size_t from, std::size_t to)
{
    for (; from < to; ++from)
    {
        first = nodeOf(chunks.all[from], first).next_sibling();
    }
    return first;
}

// The nodes of markup that is part of a document.
pugi::xml_node parseInto(pugi::xml_document& nodes, const std::string& markup, const std::string& name)
{
    // In an element: at the start of a document the parser drops a byte order mark.
    const auto wrapped = "<x>" + markup + "</x>";
    const auto result = nodes.load_buffer(wrapped.data(), wrapped.size(), parseFlags, pugi::encoding_utf8);
    if (!result)
    {
        failToParse(result, name);
    }
    return nodes.first_child();
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
        std::vector<pugi::xml_node> made;
        made.reserve(1);
        insertLayout(root, {}, tail, made);
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
    return skip(root.first_child(), chunks, 0, static_cast<std::size_t>(first - chunks.all.begin()));
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
        child = nodeOf(chunks[index], child);
        if (child == node)
        {
            break;
        }
        child = child.next_sibling();
    }
    return index;
}

std::vector<pugi::xml_node> XmlDocument::getNodes(pugi::xml_node parent)
{
    std::vector<pugi::xml_node> nodes;
    auto first = parent.first_child();
    for (const auto& chunk : chunksOf(parent).all)
    {
        nodes.push_back(nodeOf(chunk, first));
        first = nodes.back().next_sibling();
    }
    return nodes;
}

std::string XmlDocument::getMarkup(const Chunk& chunk) const
{
    return chunkTable.getCurrent(*chunk.source, chunk.node);
}

Cutting XmlDocument::parse(const std::vector<NewChildren>& children)
{
    Cutting cutting{.nodes = std::make_unique<pugi::xml_document>()};
    const auto keptBefore = inserted.size();
    try
    {
        for (const auto& added : children)
        {
            const auto before = cutting.chunks.size();
            parse(added, cutting);
            cutting.ranges.push_back(
                {.index = added.index + before, .count = cutting.chunks.size() - before});
        }
        cutting.tail = children.front().tail;
    }
    catch (...)
    {
        while (inserted.size() > keptBefore)
        {
            inserted.pop_back();
        }
        throw;
    }
    return cutting;
}

void XmlDocument::parse(const NewChildren& added, Cutting& cutting)
{
    encoding.requireAll(added.markup, "the markup");
    auto& text = inserted.emplace_back(added.markup);
    pugi::xml_document made;
    auto node = parseInto(made, added.markup, name).first_child();
    const char* const start = textFrom(node);
    const auto locateIn = [&](const void* identity, const char* place)
    {
        cutting.places.emplace(identity,
                               Location{.source = &text, .offset = static_cast<std::size_t>(place - start)});
    };
    for (auto& chunk : readChunks(text, 0).all)
    {
        node = nodeOf(chunk, node);
        Copies copies;
        copyTree(node, cutting.nodes->append_child(node.type()), copies);
        forTree(node,
                [&](pugi::xml_node original)
                {
                    locateIn(copies.there(original).internal_object(), nameOrValue(original));
                    for (const auto attribute : original.attributes())
                    {
                        locateIn(copies.there(attribute).internal_object(), attribute.value());
                    }
                });
        chunk.layout = added.layout.value_or(chunk.layout);
        cutting.chunks.push_back(std::move(chunk));
        node = node.next_sibling();
    }
}

Cutting XmlDocument::copy(pugi::xml_node parent, const ChunkRanges& ranges, Copies& copies)
{
    const auto& chunks = chunksOf(parent);
    Cutting cutting{.ranges = ranges, .nodes = std::make_unique<pugi::xml_document>()};
    auto first = parent.first_child();
    std::size_t at = 0;
    for (const auto& range : ranges)
    {
        first = skip(first, chunks, at, range.index);
        for (at = range.index; at < range.index + range.count; ++at)
        {
            cutting.chunks.push_back(chunks.all[at]);
            const auto node = nodeOf(chunks.all[at], first);
            copyTree(node, cutting.nodes->append_child(node.type()), copies);
            findPlaces(node, copies.there, cutting.places);
            first = node.next_sibling();
        }
    }
    cutting.tail = cutting.chunks.size() == chunks.all.size() ? chunks.tail : std::string();
    return cutting;
}

Copies XmlDocument::insert(pugi::xml_node parent, const Cutting& cutting)
{
    auto& chunks = chunksOf(parent);
    Copies copies;
    std::vector<pugi::xml_node> made;
    made.reserve((2 * cutting.chunks.size()) + 1);
    try
    {
        auto behind = parent.first_child();
        auto original = cutting.nodes->first_child();
        std::size_t at = 0;
        std::size_t next = 0;
        for (const auto& range : cutting.ranges)
        {
            behind = skip(behind, chunks, at, range.index - next);
            at = range.index - next;
            for (const auto end = next + range.count; next < end; ++next)
            {
                insertLayout(parent, behind, cutting.chunks[next].layout, made);
                made.push_back(insertBefore(parent, behind, original.type()));
                copyTree(original, made.back(), copies);
                original = original.next_sibling();
            }
        }
        const bool areFirst = chunks.all.empty();
        insertLayout(parent, behind, areFirst ? cutting.tail : std::string(), made);
        std::string tail = areFirst ? cutting.tail : std::string();
        chunks.all.reserve(chunks.all.size() + cutting.chunks.size());
        auto added = cutting.chunks;
        keepPlaces(cutting, copies.there);
        // From here on nothing fails.
        mergeIn(chunks.all, cutting.ranges, std::move(added));
        if (areFirst)
        {
            chunks.tail = std::move(tail);
        }
    }
    catch (...)
    {
        std::ranges::for_each(made, [this](pugi::xml_node node) { removeNode(node); });
        throw;
    }
    return copies;
}

void XmlDocument::remove(pugi::xml_node parent, const ChunkRanges& ranges) noexcept
{
    auto& chunks = chunksOf(parent);
    auto first = parent.first_child();
    std::size_t at = 0;
    for (const auto& range : ranges)
    {
        first = skip(first, chunks, at, range.index);
        at = range.index + range.count;
        const auto end = skip(first, chunks, range.index, at);
        removeNodes(first, end);
        first = end;
    }
    if (countOf(ranges) == chunks.all.size())
    {
        removeNodes(first, {});
        chunks.tail.clear();
    }
    eraseFrom(chunks.all, ranges);
}

void XmlDocument::removeNodes(pugi::xml_node first, pugi::xml_node end) noexcept
{
    while (first && first != end)
    {
        const auto next = first.next_sibling();
        removeNode(first);
        first = next;
    }
}

void XmlDocument::removeNode(pugi::xml_node node) noexcept
{
    if (node)
    {
        forgetPlaces(node);
        removeTree(node);
    }
}

} // namespace ModelEditor
