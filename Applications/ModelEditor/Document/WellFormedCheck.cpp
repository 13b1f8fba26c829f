#include "Applications/ModelEditor/Document/WellFormedCheck.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace ModelEditor
{

namespace
{

// Comparing each with each is faster than sorting up to here.
constexpr std::size_t fewNames = 16;

bool isSameName(const char* left, const char* right)
{
    return *left == *right && std::strcmp(left, right) == 0;
}

bool hasPair(const std::vector<const char*>& names)
{
    for (auto name = names.begin(); name != names.end(); ++name)
    {
        if (std::any_of(names.begin(), name, [name](const char* other) { return isSameName(*name, other); }))
        {
            return true;
        }
    }
    return false;
}

// The first name, by the alphabet, that is there twice; null if there is none. Sorts the names.
const char* findRepeated(std::vector<const char*>& names)
{
    if (names.size() <= fewNames && !hasPair(names))
    {
        return nullptr;
    }
    std::ranges::sort(names,
                      [](const char* left, const char* right) { return std::strcmp(left, right) < 0; });
    const auto twice = std::ranges::adjacent_find(names, isSameName);
    return twice == names.end() ? nullptr : *twice;
}

bool has(std::string_view text, char character)
{
    return text.find(character) != std::string_view::npos;
}

} // namespace

WellFormedCheck::Places::Places(std::string_view searched, char wanted)
    : text(searched), character(wanted), place(text.find(character))
{
}

std::size_t WellFormedCheck::Places::next(std::size_t offset)
{
    if (place < offset)
    {
        place = text.find(character, offset);
    }
    return place;
}

WellFormedCheck::WellFormedCheck(const XmlDocument& checked, std::string_view text, const char* parsedText)
    : document(checked),
      source(text),
      parsed(parsedText),
      ampersands(source, '&'),
      lessThans(source, '<'),
      colons(source, ':')
{
}

void WellFormedCheck::require(pugi::xml_node node)
{
    switch (node.type())
    {
    case pugi::node_pcdata:
        requireText(node);
        break;
    case pugi::node_element:
    case pugi::node_declaration:
        requireTag(node);
        break;
    default:
        break;
    }
}

void WellFormedCheck::requireText(pugi::xml_node node)
{
    const char* const value = node.value();
    const std::size_t offset = offsetOf(value);
    const std::size_t first = ampersands.next(offset);
    if (first != std::string_view::npos && first < lessThans.next(offset))
    {
        requireReferences(value, source.substr(offset, lessThans.next(offset) - offset));
    }
}

// Hardly any tag has what one could be suspicious of.
void WellFormedCheck::requireTag(pugi::xml_node node)
{
    const std::size_t start = offsetOf(node.name());
    const std::size_t end = endOfTag(node);
    if (ampersands.next(start) < end || lessThans.next(start) < end || colons.next(start) < end)
    {
        requireNamesAndValues(node);
    }
    requireDifferentAttributes(node);
}

void WellFormedCheck::requireNamesAndValues(pugi::xml_node node) const
{
    requireName(node.name());
    for (auto attribute = node.first_attribute(); !attribute.empty(); attribute = attribute.next_attribute())
    {
        requireAttribute(attribute);
    }
}

void WellFormedCheck::requireAttribute(pugi::xml_attribute attribute) const
{
    requireName(attribute.name());
    const auto markup = markupOf(attribute);
    requireReferences(attribute.value(), markup);
    if (has(markup, '<') && has(attribute.value(), '<'))
    {
        document.complain(offsetOf(attribute.value()), std::string("< in the value of ") + attribute.name());
    }
}

// Others have no address.
void WellFormedCheck::requireName(const char* name) const
{
    if (!isQualifiedName(name))
    {
        document.complain(offsetOf(name), std::string(name) + " is no name of the form name or prefix:name");
    }
}

// Only a value that has an ampersand can have a wrong one.
void WellFormedCheck::requireReferences(const char* value, std::string_view markup) const
{
    if (!has(markup, '&') || !has(value, '&'))
    {
        return;
    }
    for (auto place = markup.find('&'); place != std::string_view::npos; place = markup.find('&', place + 1))
    {
        if (!startsWithReference(markup.substr(place)))
        {
            document.complain(offsetOf(value) + place, "& that starts no reference");
        }
    }
}

void WellFormedCheck::requireDifferentAttributes(pugi::xml_node node)
{
    attributeNames.clear();
    for (auto attribute = node.first_attribute(); !attribute.empty(); attribute = attribute.next_attribute())
    {
        attributeNames.push_back(attribute.name());
    }
    if (const char* const repeated = findRepeated(attributeNames))
    {
        document.complain(offsetOf(node.name()),
                          std::string(node.name()) + " has two attributes " + repeated);
    }
}

// Behind the last value, or behind the name.
std::size_t WellFormedCheck::endOfTag(pugi::xml_node node) const
{
    if (const auto last = node.last_attribute(); !last.empty())
    {
        const auto markup = markupOf(last);
        return static_cast<std::size_t>(markup.data() + markup.size() - source.data());
    }
    return offsetOf(node.name()) + std::strlen(node.name());
}

// What stands between the quotes.
std::string_view WellFormedCheck::markupOf(pugi::xml_attribute attribute) const
{
    const std::size_t offset = offsetOf(attribute.value());
    const char quote = source[offset - 1];
    return source.substr(offset, source.find(quote, offset) - offset);
}

std::size_t WellFormedCheck::offsetOf(const char* text) const noexcept
{
    return static_cast<std::size_t>(text - parsed);
}

} // namespace ModelEditor
