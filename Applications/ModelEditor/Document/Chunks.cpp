#include "Applications/ModelEditor/Document/Chunks.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/StartTag.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <ranges>

namespace ModelEditor
{

namespace
{

// Reads one node after the other.
class NodeReader
{
public:
    NodeReader(std::string_view read, std::size_t offset) : text(read), position(offset) {}

    bool isAtEnd() const
    {
        return position == text.size() || text.substr(position).starts_with("</");
    }

    Span read()
    {
        const std::size_t start = position;
        std::size_t depth = 0;
        do
        {
            depth += readToken();
        } while (depth != 0);
        return {.offset = start, .length = position - start};
    }

private:
    // What the depth grows by; a number that wraps around if it shrinks.
    std::size_t readToken()
    {
        const auto rest = text.substr(position);
        if (!rest.starts_with('<'))
        {
            position = std::min(text.find('<', position), text.size());
            return 0;
        }
        if (rest.starts_with("<!--"))
        {
            position = placeBehind(text, "-->", position + 4);
            return 0;
        }
        if (rest.starts_with("<![CDATA["))
        {
            position = placeBehind(text, "]]>", position);
            return 0;
        }
        if (rest.starts_with("<?"))
        {
            position = placeBehind(text, "?>", position);
            return 0;
        }
        if (rest.starts_with("</"))
        {
            position = placeBehind(text, ">", position);
            return static_cast<std::size_t>(-1);
        }
        return readStartTag();
    }

    std::size_t readStartTag()
    {
        auto end = text.find_first_of("\"'>", position);
        while (text[end] != '>')
        {
            end = text.find_first_of("\"'>", text.find(text[end], end + 1) + 1);
        }
        position = end + 1;
        return text[end - 1] == '/' ? 0 : 1;
    }

    std::string_view text;
    std::size_t position;
};

// A stretch that is being put together: of a text, or the children of an element from one on.
struct Open
{
    const SourceText* source;
    std::size_t position;
    std::size_t end;
    std::size_t searchFrom;
    const Chunks* chunks;
    std::size_t next;
};

} // namespace

std::size_t countOf(const ChunkRanges& ranges) noexcept
{
    return std::accumulate(ranges.begin(), ranges.end(), std::size_t{0},
                           [](std::size_t sum, const ChunkRange& range) { return sum + range.count; });
}

void mergeIn(std::vector<Chunk>& all, const ChunkRanges& ranges, std::vector<Chunk> added) noexcept
{
    auto from = all.end() - all.begin();
    all.resize(all.size() + added.size());
    auto to = all.end();
    auto next = added.end();
    for (const auto& range : ranges | std::views::reverse)
    {
        const auto count = static_cast<std::ptrdiff_t>(range.count);
        const auto behind = to - all.begin() - static_cast<std::ptrdiff_t>(range.index) - count;
        to = std::move_backward(all.begin() + from - behind, all.begin() + from, to);
        from -= behind;
        to = std::move_backward(next - count, next, to);
        next -= count;
    }
}

void eraseFrom(std::vector<Chunk>& all, const ChunkRanges& ranges) noexcept
{
    auto to = all.end();
    for (auto range = ranges.begin(); range != ranges.end(); ++range)
    {
        const auto first = all.begin() + static_cast<std::ptrdiff_t>(range->index);
        const auto next = std::next(range);
        const auto end =
            next == ranges.end() ? all.end() : all.begin() + static_cast<std::ptrdiff_t>(next->index);
        to = std::move(first + static_cast<std::ptrdiff_t>(range->count), end,
                       range == ranges.begin() ? first : to);
    }
    all.erase(to, all.end());
}

// Nothing but a text starts with `>` or `]`, and no markup before it ends with `]`. A line end `\r\n` is never cut.
void appendMarkup(std::string& all, std::string_view markup)
{
    if (all.ends_with('\r') && markup.starts_with('\n'))
    {
        all += "&#10;";
        markup.remove_prefix(1);
    }
    const std::string_view cdataEnd = "]]>";
    for (std::size_t before = 1; before < cdataEnd.size(); ++before)
    {
        if (all.ends_with(cdataEnd.substr(0, before)) && markup.starts_with(cdataEnd.substr(before)))
        {
            const auto brackets = cdataEnd.size() - 1 - before;
            all.append(markup.substr(0, brackets)).append("&gt;");
            markup.remove_prefix(brackets + 1);
            break;
        }
    }
    all += markup;
}

Chunks readChunks(SourceText& source, std::size_t offset)
{
    const auto text = source.getOriginal();
    Chunks chunks{.replaced = {.offset = offset, .length = 0}, .emptyTag = {}};
    Span blank;
    NodeReader reader(text, offset);
    while (!reader.isAtEnd())
    {
        const Span node = reader.read();
        chunks.replaced.length += node.length;
        const auto markup = text.substr(node.offset, node.length);
        if (isBlank(markup))
        {
            blank = node;
            continue;
        }
        chunks.all.push_back({.source = &source,
                              .node = node,
                              .layout = std::string(text.substr(blank.offset, blank.length))});
        blank = {};
    }
    if (chunks.all.empty() && blank.length != 0)
    {
        chunks.all.push_back({.source = &source, .node = blank, .layout = {}});
        blank = {};
    }
    chunks.tail = text.substr(blank.offset, blank.length);
    return chunks;
}

Chunks& ChunkTable::of(SourceText& source, std::size_t nameOffset)
{
    const Key key{&source, nameOffset};
    const auto found = elements.find(key);
    if (found != elements.end())
    {
        return found->second;
    }
    const auto text = source.getOriginal();
    const auto end = text.find_first_of("/>", StartTag::read(text, nameOffset).end);
    const bool isEmptyTag = text[end] == '/';
    const auto nameEnd = text.find_first_of(" \t\r\n/>", nameOffset);
    auto chunks = isEmptyTag ? Chunks{.replaced = {.offset = end, .length = std::string_view("/>").size()},
                                      .emptyTag = std::string(text.substr(nameOffset, nameEnd - nameOffset))}
                             : readChunks(source, end + 1);
    return elements.emplace(key, std::move(chunks)).first->second;
}

bool ChunkTable::isEmpty() const noexcept
{
    return elements.empty();
}

void ChunkTable::forget(const SourceText& source) noexcept
{
    std::erase_if(elements, [&](const auto& entry) { return entry.first.first == &source; });
}

std::string ChunkTable::getCurrent(const SourceText& source, Span span) const
{
    std::string result;
    const auto stretch = [](const SourceText& of, Span part)
    {
        return Open{.source = &of,
                    .position = part.offset,
                    .end = part.offset + part.length,
                    .searchFrom = part.offset,
                    .chunks = nullptr,
                    .next = 0};
    };
    std::vector<Open> open{stretch(source, span)};
    while (!open.empty())
    {
        auto& top = open.back();
        if (top.chunks != nullptr)
        {
            if (top.next == top.chunks->all.size())
            {
                const bool wasEmptyTag = !top.chunks->emptyTag.empty() && top.next != 0;
                appendMarkup(result, top.chunks->tail);
                result += (wasEmptyTag ? "</" + top.chunks->emptyTag + ">" : "");
                open.pop_back();
                continue;
            }
            const auto& chunk = top.chunks->all[top.next++];
            appendMarkup(result, chunk.layout);
            open.push_back(stretch(*chunk.source, chunk.node));
            continue;
        }
        const auto next = elements.lower_bound({top.source, top.searchFrom});
        if (next == elements.end() || next->first.first != top.source || next->first.second >= top.end)
        {
            appendMarkup(result,
                         top.source->getCurrent({.offset = top.position, .length = top.end - top.position}));
            open.pop_back();
            continue;
        }
        const auto& chunks = next->second;
        result +=
            top.source->getCurrent({.offset = top.position, .length = chunks.replaced.offset - top.position});
        top.position = chunks.replaced.offset + chunks.replaced.length;
        top.searchFrom = top.position;
        if (!chunks.emptyTag.empty())
        {
            result += chunks.all.empty() ? "/>" : ">";
        }
        open.push_back(
            {.source = nullptr, .position = 0, .end = 0, .searchFrom = 0, .chunks = &chunks, .next = 0});
    }
    return result;
}

} // namespace ModelEditor
