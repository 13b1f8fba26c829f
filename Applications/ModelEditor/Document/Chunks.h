#pragma once

#include "Applications/ModelEditor/Document/SourceText.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ModelEditor
{

/// A child of an element as it is saved: an element, a text, a comment or an instruction, with the layout before it.
struct Chunk
{
    SourceText* source; ///< in which it stands
    Span node;          ///< where it stands there, without the layout
    std::string layout; ///< white space between it and what is before it
};

/// The children of one element in the order in which they are saved.
struct Chunks
{
    Span replaced; ///< what they take the place of: all between the two tags, or the end `/>` of the only one
    std::string emptyTag;     ///< the name of the element if it has only one tag, otherwise empty
    std::vector<Chunk> all{}; ///< the children
    std::string tail{};       ///< white space behind the last child
};

/// Chunks of an element that follow each other.
struct ChunkRange
{
    std::size_t index; ///< of the first
    std::size_t count;
};

/// From front to back, without overlap. The numbers are those that the chunks have while all of them are in the element.
using ChunkRanges = std::vector<ChunkRange>;

/// How many chunks they are.
std::size_t countOf(const ChunkRanges& ranges) noexcept;

/// Puts @p added to their places among @p all, which has room for them (not checked).
void mergeIn(std::vector<Chunk>& all, const ChunkRanges& ranges, std::vector<Chunk> added) noexcept;

/// Takes those of @p ranges out of @p all.
void eraseFrom(std::vector<Chunk>& all, const ChunkRanges& ranges) noexcept;

/// Appends @p markup to @p all, which ends with a whole node.
///
/// Texts that have come to stand side by side become one for whoever reads the file. It gets no `]]>`, which no text may
/// have, and two line ends do not become `\r\n`, which is one: the last character is written as a reference.
void appendMarkup(std::string& all, std::string_view markup);

/// The nodes that follow each other in @p source from @p offset up to the end of the text, or to the end tag of the
/// element around them. White space that is all that there is is a text.
///
/// @pre the text is well-formed (not checked). Cost: linear in what is read.
Chunks readChunks(SourceText& source, std::size_t offset);

/// The children of those elements that have got or lost some.
///
/// The texts in which the children stand stay as they are; this says in which order which parts of them are saved.
///
/// Ownership: refers to the source texts. Thread: one at a time.
class ChunkTable
{
public:
    /// The children of the element whose name is at @p nameOffset of @p source; they are read there if nobody asked
    /// before.
    ///
    /// Throws nothing if somebody has. Cost: the first time linear in the element's length.
    Chunks& of(SourceText& source, std::size_t nameOffset);

    /// Whether nobody has asked for an element.
    bool isEmpty() const noexcept;

    /// Forgets all elements of @p source.
    void forget(const SourceText& source) noexcept;

    /// What is saved of @p span of @p source: with all replacements, and with the children that elements have now.
    /// Uses no stack that grows with the depth of the elements.
    ///
    /// @pre as for SourceText::getCurrent().
    std::string getCurrent(const SourceText& source, Span span) const;

private:
    using Key = std::pair<const SourceText*, std::size_t>;

    // By where the name of the element is.
    std::map<Key, Chunks> elements;
};

} // namespace ModelEditor
