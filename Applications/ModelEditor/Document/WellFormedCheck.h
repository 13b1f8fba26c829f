#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <string_view>
#include <vector>

namespace ModelEditor
{

class XmlDocument;

/// Looks for what is not well-formed, or has no address, and yet passes the parser.
///
/// Cost: a pass through the source text and the nodes. The parts of a tag are looked at only where something
/// in it may be wrong.
///
/// Ownership: refers to the document, the source text and the parsed one, which must live longer.
/// Thread: one at a time.
class WellFormedCheck
{
public:
    /// @param text  the text of @p checked as it was read.
    /// @param parsedText  the same text parsed in place: what names and values of the nodes point into.
    WellFormedCheck(const XmlDocument& checked, std::string_view text, const char* parsedText);

    /// Checks @p node without its children.
    ///
    /// @pre @p node comes behind the node of the call before, in document order (not checked).
    /// @throws VdException `<name>:<line>:<column>: <what is wrong>`.
    void require(pugi::xml_node node);

private:
    /// The places of a character, found in one pass.
    class Places
    {
    public:
        Places(std::string_view searched, char wanted);

        /// The first place at or behind @p offset, which never decreases; npos if there is none.
        std::size_t next(std::size_t offset);

    private:
        std::string_view text;
        char character;
        std::size_t place;
    };

    void requireText(pugi::xml_node node);
    void requireTag(pugi::xml_node node);
    void requireName(const char* name) const;
    void requireNamesAndValues(pugi::xml_node node) const;
    void requireAttribute(pugi::xml_attribute attribute) const;
    void requireReferences(const char* value, std::string_view markup) const;
    void requireDifferentAttributes(pugi::xml_node node);
    std::size_t endOfTag(pugi::xml_node node) const;
    std::string_view markupOf(pugi::xml_attribute attribute) const;
    std::size_t offsetOf(const char* text) const noexcept;

    const XmlDocument& document;
    std::string_view source;
    const char* parsed;
    Places ampersands;
    Places lessThans;
    Places colons;
    // Of one element; kept for its memory.
    std::vector<const char*> attributeNames;
};

} // namespace ModelEditor
