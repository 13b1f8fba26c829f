#pragma once

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/SourceText.h"

#include <pugixml.hpp>

#include <string>

namespace ModelEditor
{

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

    std::string getText() const;

    /// The text that the file had when it was opened.
    const std::string& getOriginal() const noexcept;

    /// Setting the original again restores its markup, entities and all.
    ///
    /// @throws VdException if XML or the encoding of the document cannot hold @p text; std::bad_alloc. Nothing has changed then.
    void setText(const std::string& text);

private:
    XmlDocument& document;
    SourceText& source;
    pugi::xml_attribute attribute;
    pugi::xml_node textNode;
    Span span;
    MarkupPlace place;
    std::string original;
};

} // namespace ModelEditor
