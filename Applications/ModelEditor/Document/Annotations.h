#pragma once

#include "Applications/ModelEditor/Document/SourceText.h"
#include "Applications/ModelEditor/Document/StartTag.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <pugixml.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace ModelEditor
{

class XmlDocument;
class XmlValue;

/// The texts of attributes by their names.
using AttributeTexts = std::unordered_map<std::string_view, std::string_view>;

/// Those of @p collection, which must live longer: it looks at all of its attributes itself at every lookup.
AttributeTexts textsIn(const std::shared_ptr<Valdane::DynamicAttributeCollection>& collection);

/// The namespaced attributes of one element, and all others that the file does not have there, kept the same in the nodes,
/// the source text and a collection.
///
/// An attribute that was taken away counts as one that the file does not have there, until it is put back.
///
/// What is written depends only on the collection that is set and on the file: attributes of the file stand
/// in their places, and those with their first text in their first markup; others follow at the end of the
/// tag.
///
/// Ownership: refers to the document, which must live longer. Thread: that of the document.
class Annotations
{
public:
    /// @pre nobody has changed the attributes of @p annotated yet (not checked).
    Annotations(XmlDocument& owner, pugi::xml_node annotated);

    /// Empty if there are none, and always as it was set.
    const std::shared_ptr<Valdane::DynamicAttributeCollection>& get() const noexcept;

    /// Whether the file has an attribute @p name at the element.
    bool isOfFile(std::string_view name) const;

    /// @throws VdException if a name is none for an attribute, that of one without prefix in the file, or not in the encoding of the file, or XML cannot hold a
    ///         text, unless it is what the
    ///         file has there; std::bad_alloc. Nothing has changed then.
    void set(std::shared_ptr<Valdane::DynamicAttributeCollection> attributes);

    /// Takes away the attribute @p name of the file, which has no prefix, with the white space before it.
    ///
    /// @param original  its text in the file.
    /// @pre it is there (not checked). @throws std::bad_alloc. Nothing has changed then.
    void take(const std::string& name, const std::string& original);

    /// Puts it back where it stands in the file, as the attribute of @p value, with the value @p text.
    ///
    /// @pre it was taken, and nobody has added one of that name since (not checked).
    /// @throws what XmlValue::setText() throws. Nothing has changed then, except that @p value has no attribute.
    void putBack(const std::string& name, XmlValue& value, const std::string& text);

    /// Are from now on those of @p annotated, a copy of the element.
    void rebind(pugi::xml_node annotated) noexcept;

private:
    struct Original
    {
        StartTag::Attribute place;
        std::string text;
    };

    /// Whether an attribute of that name is in the collection if the element has it.
    bool isCollected(std::string_view attributeName) const;
    void requireWritable(const Valdane::DynamicAttributeCollection& attributes) const;
    using Attributes = std::shared_ptr<Valdane::DynamicAttributeCollection>;

    /// What is to stand at a place of the source text; empty for the original.
    struct Change
    {
        Span span;
        SourceText::Prepared markup;
    };

    void writeNodes(const Attributes& attributes);
    void remove(pugi::xml_attribute attribute) noexcept;
    pugi::xml_attribute insertBehind(pugi::xml_attribute previous, const std::string& name);
    std::vector<Change> prepareSource(const Attributes& attributes) const;
    void writeSource(std::vector<Change> changes) noexcept;
    std::vector<Valdane::DynamicAttributeCollection::Entry> getAdded(const Attributes& attributes) const;

    XmlDocument& document;
    SourceText& source;
    pugi::xml_node element;
    StartTag tag;
    std::unordered_set<std::string_view> fileNames;
    std::unordered_set<std::string_view> taken;
    // Of the annotations of the file, and of all that was taken away.
    std::vector<Original> originals;
    std::shared_ptr<Valdane::DynamicAttributeCollection> collection;
};

} // namespace ModelEditor
