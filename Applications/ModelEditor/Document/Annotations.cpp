#include "Applications/ModelEditor/Document/Annotations.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlValue.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::DynamicAttributeCollection;

std::optional<std::string> textOf(const AttributeTexts& texts, std::string_view name)
{
    const auto found = texts.find(name);
    return found == texts.end() ? std::nullopt : std::optional<std::string>(found->second);
}

using Nodes = std::unordered_map<std::string_view, pugi::xml_attribute>;

Nodes attributesOf(pugi::xml_node element)
{
    Nodes nodes;
    for (const auto attribute : element.attributes())
    {
        nodes.emplace(attribute.name(), attribute);
    }
    return nodes;
}

pugi::xml_attribute find(const Nodes& nodes, std::string_view name)
{
    const auto found = nodes.find(name);
    return found == nodes.end() ? pugi::xml_attribute() : found->second;
}

} // namespace

AttributeTexts textsIn(const std::shared_ptr<DynamicAttributeCollection>& collection)
{
    AttributeTexts texts;
    if (collection != nullptr)
    {
        for (const auto& entry : *collection)
        {
            texts.emplace(entry.name, entry.text);
        }
    }
    return texts;
}

Annotations::Annotations(XmlDocument& owner, pugi::xml_node annotated)
    : document(owner),
      source(owner.locate(annotated).source),
      element(annotated),
      tag(StartTag::read(source.getOriginal(), owner.locate(annotated).offset))
{
    const auto nodes = attributesOf(element);
    for (const auto& attribute : tag.attributes)
    {
        fileNames.insert(attribute.name);
        if (isAnnotationName(attribute.name))
        {
            const std::string name(attribute.name);
            originals.push_back({attribute, find(nodes, name).value()});
            collection = collection == nullptr ? std::make_shared<DynamicAttributeCollection>() : collection;
            collection->set(name, originals.back().text);
        }
    }
}

const std::shared_ptr<DynamicAttributeCollection>& Annotations::get() const noexcept
{
    return collection;
}

bool Annotations::isOfFile(std::string_view name) const
{
    return fileNames.contains(name);
}

void Annotations::rebind(pugi::xml_node annotated) noexcept
{
    element = annotated;
}

void Annotations::set(std::shared_ptr<DynamicAttributeCollection> attributes)
{
    if (attributes != nullptr)
    {
        requireWritable(*attributes);
    }
    auto changes = prepareSource(attributes);
    writeNodes(attributes);
    // From here on nothing fails, so that what is saved is what an XPath sees.
    writeSource(std::move(changes));
    collection = std::move(attributes);
}

bool Annotations::isCollected(std::string_view attributeName) const
{
    return isAnnotationName(attributeName) ||
           (isAttributeName(attributeName) && (!isOfFile(attributeName) || taken.contains(attributeName)));
}

void Annotations::take(const std::string& name, const std::string& original)
{
    const auto& place = *tag.find(name);
    auto nothing = SourceText::prepare(place.whole, "");
    const auto entry = taken.insert(place.name).first;
    try
    {
        originals.push_back({place, original});
    }
    catch (...)
    {
        taken.erase(entry);
        throw;
    }
    // From here on nothing fails.
    remove(element.attribute(name.c_str()));
    source.restore(place.value);
    source.replace(std::move(nothing));
}

void Annotations::putBack(const std::string& name, XmlValue& value, const std::string& text)
{
    const auto& place = *tag.find(name);
    pugi::xml_attribute previous;
    for (const auto* before = tag.attributes.data(); before != &place; ++before)
    {
        const auto attribute = element.attribute(std::string(before->name).c_str());
        previous = attribute ? attribute : previous;
    }
    auto nothing = SourceText::prepare(place.whole, "");
    const auto made = insertBehind(previous, name);
    source.restore(place.whole);
    try
    {
        requireMemory(made.name() == name);
        value.putBack(made, text);
    }
    catch (...)
    {
        source.replace(std::move(nothing));
        element.remove_attribute(made);
        throw;
    }
    taken.erase(name);
    std::erase_if(originals, [&name](const Original& original) { return original.place.name == name; });
}

// What the file has can always be written back, even if it is no UTF-8.
void Annotations::requireWritable(const DynamicAttributeCollection& attributes) const
{
    AttributeTexts ofFile;
    for (const auto& original : originals)
    {
        ofFile.emplace(original.place.name, original.text);
    }
    for (const auto& entry : attributes)
    {
        if (const auto found = ofFile.find(entry.name); found != ofFile.end() && found->second == entry.text)
        {
            continue;
        }
        if (!isCollected(entry.name))
        {
            throw Valdane::VdException("'" + entry.name +
                                       "' cannot be the name of an attribute that is added");
        }
        document.getEncoding().requireAll(entry.name, "which is in the name " + entry.name);
        requireXmlText(entry.text);
    }
}

// The old attributes go when all new ones are there: to remove one cannot fail. Those that are the same stay, for the
// parser looks at all attributes of the element when one is put in or taken out.
void Annotations::writeNodes(const Attributes& attributes)
{
    const auto texts = textsIn(attributes);
    const auto present = attributesOf(element);
    const auto behind = getAdded(attributes);
    std::vector<pugi::xml_attribute> old;
    std::vector<pugi::xml_attribute> made;
    old.reserve(present.size());
    made.reserve(originals.size() + behind.size());
    const auto add = [&](pugi::xml_attribute previous, const std::string& name, const std::string& text)
    {
        made.push_back(insertBehind(previous, name));
        requireMemory(made.back().name() == name && made.back().set_value(text.c_str()));
        return made.back();
    };
    try
    {
        pugi::xml_attribute previous;
        for (const auto& place : tag.attributes)
        {
            const auto node = find(present, place.name);
            const bool isOurs = isCollected(place.name);
            const auto text = isOurs ? textOf(texts, place.name) : std::nullopt;
            if (!isOurs || (text && node && *text == node.value()))
            {
                previous = node;
                continue;
            }
            if (node)
            {
                old.push_back(node);
            }
            if (text)
            {
                previous = add(previous, std::string(place.name), *text);
            }
        }
        auto next = behind.begin();
        for (const auto node : element.attributes())
        {
            const bool isSame =
                next != behind.end() && node.name() == next->name && node.value() == next->text;
            if (isCollected(node.name()) && !isOfFile(node.name()))
            {
                isSame ? static_cast<void>(++next) : old.push_back(node);
            }
        }
        for (; next != behind.end(); ++next)
        {
            add(element.last_attribute(), next->name, next->text);
        }
    }
    catch (...)
    {
        std::ranges::for_each(made, [this](auto attribute) { element.remove_attribute(attribute); });
        throw;
    }
    std::ranges::for_each(old, [this](auto attribute) { remove(attribute); });
}

void Annotations::remove(pugi::xml_attribute attribute) noexcept
{
    document.forgetPlace(attribute);
    element.remove_attribute(attribute);
}

pugi::xml_attribute Annotations::insertBehind(pugi::xml_attribute previous, const std::string& name)
{
    return previous ? element.insert_attribute_after(name.c_str(), previous)
                    : element.prepend_attribute(name.c_str());
}

std::vector<Annotations::Change> Annotations::prepareSource(const Attributes& attributes) const
{
    std::vector<Change> changes;
    const auto put = [&changes](Span span, const std::optional<std::string>& markup)
    {
        changes.push_back(
            {.span = span, .markup = markup ? SourceText::prepare(span, *markup) : SourceText::Prepared()});
    };
    const auto texts = textsIn(attributes);
    for (const auto& [place, original] : originals)
    {
        const auto text = textOf(texts, place.name);
        put(place.whole, text ? std::nullopt : std::optional<std::string>(""));
        const char quote = source.getOriginal()[place.value.offset - 1];
        const auto markupPlace = quote == '\'' ? MarkupPlace::SingleQuoted : MarkupPlace::DoubleQuoted;
        put(place.value, text && *text != original
                             ? std::optional(toMarkup(*text, markupPlace, document.getEncoding()))
                             : std::nullopt);
    }
    std::string markup;
    for (const auto& entry : getAdded(attributes))
    {
        markup += " " + entry.name + "=\"" +
                  toMarkup(entry.text, MarkupPlace::DoubleQuoted, document.getEncoding()) + "\"";
    }
    put({.offset = tag.end, .length = 0}, markup.empty() ? std::nullopt : std::optional(markup));
    return changes;
}

void Annotations::writeSource(std::vector<Change> changes) noexcept
{
    for (auto& [span, markup] : changes)
    {
        if (markup.empty())
        {
            source.restore(span);
        }
        else
        {
            source.replace(std::move(markup));
        }
    }
}

std::vector<DynamicAttributeCollection::Entry> Annotations::getAdded(const Attributes& attributes) const
{
    std::vector<DynamicAttributeCollection::Entry> added;
    if (attributes != nullptr)
    {
        std::ranges::copy_if(*attributes, std::back_inserter(added),
                             [this](const auto& entry) { return !isOfFile(entry.name); });
    }
    return added;
}

} // namespace ModelEditor
