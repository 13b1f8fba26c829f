#include "Examples/ModelEditor/Annotations.h"

#include "Examples/ModelEditor/Markup.h"
#include "Examples/ModelEditor/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::DynamicAttributeCollection;

std::optional<std::string> textIn(const std::shared_ptr<DynamicAttributeCollection>& collection,
                                  std::string_view name)
{
    return collection == nullptr ? std::nullopt : collection->get(name);
}

void require(bool done)
{
    if (!done)
    {
        throw std::bad_alloc();
    }
}

} // namespace

Annotations::Annotations(XmlDocument& owner, pugi::xml_node annotated)
    : document(owner),
      source(owner.locate(annotated.name()).source),
      element(annotated),
      tag(StartTag::read(source.getOriginal(), owner.locate(annotated.name()).offset))
{
    for (const auto& attribute : tag.attributes)
    {
        if (isAnnotationName(attribute.name))
        {
            const std::string name(attribute.name);
            originals.push_back({attribute, element.attribute(name.c_str()).value()});
            collection = collection == nullptr ? std::make_shared<DynamicAttributeCollection>() : collection;
            collection->set(name, originals.back().text);
        }
    }
}

const std::shared_ptr<DynamicAttributeCollection>& Annotations::get() const noexcept
{
    return collection;
}

void Annotations::set(std::shared_ptr<DynamicAttributeCollection> attributes)
{
    if (attributes != nullptr)
    {
        requireWritable(*attributes);
    }
    collection = std::move(attributes);
    writeNodes();
    writeSource();
}

// What the file has can always be written back, even if it is no UTF-8.
void Annotations::requireWritable(const DynamicAttributeCollection& attributes) const
{
    for (const auto& entry : attributes)
    {
        const auto isEntry = [&entry](const Original& original)
        {
            return original.place.name == entry.name && original.text == entry.text;
        };
        if (std::ranges::any_of(originals, isEntry))
        {
            continue;
        }
        if (!isAnnotationName(entry.name))
        {
            throw Valdane::VdException("'" + entry.name + "' is no name of the form prefix:name");
        }
        requireXmlText(entry.text);
    }
}

void Annotations::writeNodes()
{
    for (auto attribute = element.first_attribute(); attribute;)
    {
        const auto following = attribute.next_attribute();
        if (isAnnotationName(attribute.name()))
        {
            element.remove_attribute(attribute);
        }
        attribute = following;
    }
    pugi::xml_attribute previous;
    for (const auto& place : tag.attributes)
    {
        const std::string name(place.name);
        const auto text = isAnnotationName(name) ? textIn(collection, name) : std::nullopt;
        if (text)
        {
            previous = previous ? element.insert_attribute_after(name.c_str(), previous)
                                : element.prepend_attribute(name.c_str());
            require(previous.set_value(text->c_str()));
        }
        else if (!isAnnotationName(name))
        {
            previous = element.attribute(name.c_str());
        }
    }
    for (const auto& entry : getAdded())
    {
        require(element.append_attribute(entry.name.c_str()).set_value(entry.text.c_str()));
    }
}

void Annotations::writeSource()
{
    for (const auto& original : originals)
    {
        writeOriginal(original);
    }
    std::string markup;
    for (const auto& entry : getAdded())
    {
        markup += " " + entry.name + "=\"" +
                  toMarkup(entry.text, MarkupPlace::DoubleQuoted, document.isAsciiOnly()) + "\"";
    }
    put({.offset = tag.end, .length = 0}, markup.empty() ? std::nullopt : std::optional(markup));
}

void Annotations::writeOriginal(const Original& original)
{
    const auto& place = original.place;
    const auto text = textIn(collection, place.name);
    put(place.whole, text ? std::nullopt : std::optional<std::string>(""));
    const bool isChanged = text && *text != original.text;
    const char quote = source.getOriginal()[place.value.offset - 1];
    const auto markupPlace = quote == '\'' ? MarkupPlace::SingleQuoted : MarkupPlace::DoubleQuoted;
    put(place.value,
        isChanged ? std::optional(toMarkup(*text, markupPlace, document.isAsciiOnly())) : std::nullopt);
}

void Annotations::put(Span span, const std::optional<std::string>& markup)
{
    if (markup)
    {
        source.replace(span, *markup);
    }
    else
    {
        source.restore(span);
    }
}

std::vector<DynamicAttributeCollection::Entry> Annotations::getAdded() const
{
    std::vector<DynamicAttributeCollection::Entry> added;
    if (collection != nullptr)
    {
        std::ranges::copy_if(*collection, std::back_inserter(added),
                             [this](const auto& entry) { return tag.find(entry.name) == nullptr; });
    }
    return added;
}

} // namespace ModelEditor
