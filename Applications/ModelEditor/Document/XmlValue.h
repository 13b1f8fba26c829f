#pragma once

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/SourceText.h"

#include <pugixml.hpp>

#include <optional>
#include <string>

namespace ModelEditor
{

class NodeMap;
class XmlDocument;

/// One attribute value or one text of a document, to read and to write.
///
/// Ownership: refers to the document, which must live longer. Thread: that of the document.
class XmlValue
{
public:
    /// @param changed  an attribute that nobody has changed yet.
    /// @throws VdException if somebody has.
    XmlValue(XmlDocument& owner, pugi::xml_attribute changed);
    /// @param changed  a text or a CDATA section that nobody has changed yet.
    /// @throws VdException if somebody has.
    XmlValue(XmlDocument& owner, pugi::xml_node changed);

    /// As it was set, or as the parser has read it.
    std::string getText() const;

    /// The text that the file had when it was opened.
    const std::string& getOriginal() const noexcept;

    /// Whether references in it are told from other text: it has some, or was no number and no bool,
    /// and had some at first.
    bool takesMarkup() const;

    /// What a person is shown: if it takes markup as toEntered() gives it, else the text.
    std::string getShown() const;

    /// Setting the original again restores its markup, entities and all.
    ///
    /// @param text  in which references may be marked, see MarkedText.h.
    /// @throws VdException if XML or the encoding of the document cannot hold @p text; std::bad_alloc. Nothing has changed then.
    void setText(const std::string& text);

    /// Is from now on the value of @p attributeAgain, which takes the place of an attribute that is gone, and has the text
    /// @p text.
    ///
    /// @throws what setText() throws.
    void putBack(pugi::xml_attribute attributeAgain, const std::string& text);

    /// Is from now on the value of the copy that its node or attribute has in @p copies.
    void rebind(const NodeMap& copies) noexcept;

private:
    std::string getMarkedOriginal() const;

    XmlDocument& document;
    SourceText& source;
    pugi::xml_attribute attribute;
    pugi::xml_node textNode;
    Span span;
    MarkupPlace place;
    std::string original;
    bool hadReferences = false;
    // What was set, if that has references; else the nodes have it.
    std::optional<std::string> marked;
};

} // namespace ModelEditor
