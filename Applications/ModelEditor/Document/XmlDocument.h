#pragma once

#include "Applications/ModelEditor/Document/Chunks.h"
#include "Applications/ModelEditor/Document/Cutting.h"
#include "Applications/ModelEditor/Document/Encoding.h"
#include "Applications/ModelEditor/Document/MarkupWarnings.h"
#include "Applications/ModelEditor/Document/SourceText.h"

#include <pugixml.hpp>

#include <cstddef>
#include <list>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace ModelEditor
{

/// The next node in document order; empty behind the last one.
pugi::xml_node nextNode(pugi::xml_node node);

/// @p node, or the first sibling behind it, that is an element; empty if none is.
pugi::xml_node elementFrom(pugi::xml_node node);

/// Whether @p node is white space that only lays out other nodes. White space that is all that an element has
/// is its text.
bool isLayout(pugi::xml_node node);

/// An XML file in memory: its source text, and the nodes that pugixml made of it.
///
/// The nodes are what XPath sees, the source text is what is saved. Who changes a value changes it in both.
///
/// Markup can be appended to the root element, and children can be put into any element and taken out. Markup that
/// was added is a source text of its own; a table says in which order what parts of the texts are saved.
///
/// Thread: one at a time.
class XmlDocument
{
public:
    /// Parses @p bytes, the content of the file @p fileName.
    ///
    /// @throws VdException `<name>:<line>:<column>: <what is wrong>`, or without a place what concerns the
    ///         whole file; std::bad_alloc.
    /// @param firstLine  the number that messages give the first line.
    XmlDocument(const std::string& bytes, const std::string& fileName, std::size_t firstLine = 1);
    ~XmlDocument();

    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// What messages call it.
    const std::string& getName() const noexcept;

    pugi::xml_node getDocumentNode() const;
    pugi::xml_node getRootElement() const;

    /// The text of the file itself.
    SourceText& getSource() noexcept;

    /// Where in that text the children of the root stand, with the layout before them, without that behind
    /// them.
    Span getContent() const noexcept;

    /// A place in the text of the file, or in one that was appended.
    struct Place
    {
        SourceText& source;
        std::size_t offset;
    };

    /// Where the text that @p text points to stands: a name, or a value that was not yet changed.
    ///
    /// @throws VdException if @p text points to something else.
    /// Cost: a step for every append.
    Place locate(const char* text);

    /// Where the name of the element or instruction @p node stands, or the value of another one or of
    /// @p attribute, unless that was changed.
    ///
    /// @throws VdException if it was changed.
    Place locate(pugi::xml_node node);
    Place locate(pugi::xml_attribute attribute);

    /// Has to be called before @p attribute is removed: another one may get its memory.
    void forgetPlace(pugi::xml_attribute attribute) noexcept;

    /// The children of the element @p parent that are no layout, as they are saved; valid until some come or go.
    ///
    /// @throws std::bad_alloc. Cost: the first time linear in the element.
    const Chunks& getChunks(pugi::xml_node parent);

    /// Which of the chunks of its parent @p node is; the number of them if it is none. Cost: linear in that number.
    std::size_t indexOf(pugi::xml_node node);

    /// The nodes of all chunks of @p parent. Cost: linear in their number.
    std::vector<pugi::xml_node> getNodes(pugi::xml_node parent);

    /// What is saved of @p chunk, without its layout.
    std::string getMarkup(const Chunk& chunk) const;

    /// The nodes of the markup of all @p children, to be put into the document. Their texts are kept as long as the
    /// document lives.
    ///
    /// @param children  from front to back. The markup of each is part of a well-formed document, with a node (not
    ///                  checked).
    /// @throws VdException if the encoding of the file lacks a character; std::bad_alloc.
    Cutting parse(const std::vector<NewChildren>& children);

    /// Copies chunks of @p parent. Cost: linear in their size, and in the number of chunks of @p parent.
    ///
    /// @param copies  gets the nodes of the document and the copies. @throws std::bad_alloc
    Cutting copy(pugi::xml_node parent, const ChunkRanges& ranges, Copies& copies);

    /// Puts a copy of @p cutting into @p parent, which has the chunks around its places (not checked). Cost: as copy().
    ///
    /// @return the nodes of the cutting and their copies.
    /// @throws std::bad_alloc. Nothing has changed then.
    Copies insert(pugi::xml_node parent, const Cutting& cutting);

    /// Removes chunks of @p parent, and with the last one the layout behind it. Cost: as copy().
    ///
    /// @pre getChunks() was called for @p parent (not checked).
    void remove(pugi::xml_node parent, const ChunkRanges& ranges) noexcept;

    /// Parses @p markup and appends its nodes to the root element, before the layout at its end.
    ///
    /// If the last child is a text, white space at the start of the markup is left out, for it would become a
    /// part of that text.
    ///
    /// @param markup  part of a well-formed document, with an element, and without a text beside it that is
    ///                no layout (not checked).
    /// @throws std::bad_alloc, or VdException if it cannot be parsed. Nothing has changed then.
    /// Cost: linear in the markup. Its memory is given back by removeLast(), but for one copy that the parser
    ///       keeps as long as the document lives.
    void append(const std::string& markup);

    /// The first of the nodes that were appended last; empty if there are none.
    pugi::xml_node getLastAppended() noexcept;

    /// Takes out what was appended last: its nodes, its source text and all replacements in it.
    ///
    /// @pre something was appended (not checked).
    /// @return the markup as it was.
    std::string removeLast() noexcept;

    /// The encoding in which it is saved.
    const Encoding& getEncoding() const noexcept;

    /// The file as it is to be saved, in the encoding that it had.
    ///
    /// Without changes these are the bytes that were read.
    /// @throws VdException if the encoding lacks a character.
    std::string toBytes() const;

    /// What is wrong in the text as it would be saved now, although the parser has taken it.
    ///
    /// @throws std::bad_alloc.
    MarkupWarnings findWarnings() const;

    /// Looks for what findWarnings() would find in @p markup if it stood in the document.
    ///
    /// @throws VdException `markup:<line>:<column>: <what is wrong>` for the first of it.
    void requireNoWarnings(const std::string& markup) const;

    /// Allows in @p markup only references to entities that are declared, or that the file already refers to: another
    /// file, which includes it, may declare them.
    ///
    /// @throws VdException that tells of another one; std::bad_alloc.
    /// Cost: a search of the file for the first reference to each entity.
    void requireKnownEntities(std::string_view markup);

    /// Complains of what is at @p offset of the text of the file.
    ///
    /// @throws VdException `<name>:<line>:<column>: <what is wrong>`, always.
    [[noreturn]] void complain(std::size_t offset, const std::string& what) const;

private:
    struct Segment
    {
        SourceText source;
        const char* parsed = nullptr;
        bool hasTail = false; // whether it brought the layout at the end of the root
    };

    std::string_view getProlog() const;
    void parse();
    void requireOneRoot() const;
    void requireNothingBehind() const;
    [[noreturn]] void complainOfText(std::size_t offset) const;
    void requireWellFormed() const;
    std::size_t offsetOf(const char* text) const;
    void findContent();
    std::size_t findEndTag() const;
    std::string getCurrent() const;
    std::optional<Location> find(const void* identity, const char* text);
    Place require(const std::optional<Location>& location) const;
    void keepPlaces(const Cutting& cutting, const NodeMap& copies);
    void findPlaces(pugi::xml_node original, const NodeMap& copies, Locations& places);
    void forgetPlaces(pugi::xml_node node) noexcept;
    void removeNodes(pugi::xml_node first, pugi::xml_node end) noexcept;
    void removeNode(pugi::xml_node node) noexcept;
    void parse(const NewChildren& added, Cutting& cutting);
    Chunks& chunksOf(pugi::xml_node element);

    std::string name;
    Encoding encoding;
    SourceText source;
    // The parser works in place: the nodes point into this buffer.
    std::string parsed;
    pugi::xml_document document;

    Span content;
    std::size_t lineOffset;
    std::set<std::string> knownEntities;
    // Lists, because who changes values refers to the source texts.
    std::list<Segment> segments;
    std::list<SourceText> inserted;
    ChunkTable chunkTable;
    Locations places;
};

} // namespace ModelEditor
