#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <functional>

// Where nodes and attributes stand in the source texts.

namespace ModelEditor
{

const char* nameOrValue(pugi::xml_node node)
{
    return *node.name() == '\0' ? node.value() : node.name();
}

XmlDocument::Place XmlDocument::locate(const char* text)
{
    return require(find(nullptr, text));
}

XmlDocument::Place XmlDocument::locate(pugi::xml_node node)
{
    return require(find(node.internal_object(), nameOrValue(node)));
}

XmlDocument::Place XmlDocument::locate(pugi::xml_attribute attribute)
{
    return require(find(attribute.internal_object(), attribute.value()));
}

void XmlDocument::forgetPlace(pugi::xml_attribute attribute) noexcept
{
    places.erase(attribute.internal_object());
}

std::optional<Location> XmlDocument::find(const void* identity, const char* text)
{
    if (const auto known = places.find(identity); known != places.end())
    {
        return known->second;
    }
    const std::less<> before;
    const auto isIn = [&](const char* start, std::size_t length)
    {
        return start != nullptr && !before(text, start) && before(text, start + length);
    };
    for (auto& segment : segments)
    {
        if (isIn(segment.parsed, segment.source.getOriginal().size()))
        {
            return Location{.source = &segment.source,
                            .offset = static_cast<std::size_t>(text - segment.parsed)};
        }
    }
    return isIn(parsed.data(), parsed.size())
               ? std::optional(Location{.source = &source, .offset = offsetOf(text)})
               : std::nullopt;
}

XmlDocument::Place XmlDocument::require(const std::optional<Location>& location) const
{
    if (!location)
    {
        throw Valdane::VdException("a text of " + name + " is not where it was");
    }
    return {.source = *location->source, .offset = location->offset};
}

void XmlDocument::keepPlaces(const Cutting& cutting, const NodeMap& copies)
{
    for (auto node = cutting.nodes->first_child(); node; node = nextNode(node))
    {
        if (const auto place = cutting.places.find(node.internal_object()); place != cutting.places.end())
        {
            places.insert_or_assign(copies(node).internal_object(), place->second);
        }
        for (const auto attribute : node.attributes())
        {
            if (const auto place = cutting.places.find(attribute.internal_object());
                place != cutting.places.end())
            {
                places.insert_or_assign(copies(attribute).internal_object(), place->second);
            }
        }
    }
}

void XmlDocument::findPlaces(pugi::xml_node original, const NodeMap& copies, Locations& found)
{
    const auto keep = [&](const void* copy, const std::optional<Location>& place)
    {
        if (place)
        {
            found.emplace(copy, *place);
        }
    };
    forTree(original,
            [&](pugi::xml_node node)
            {
                keep(copies(node).internal_object(), find(node.internal_object(), nameOrValue(node)));
                for (const auto attribute : node.attributes())
                {
                    keep(copies(attribute).internal_object(),
                         find(attribute.internal_object(), attribute.value()));
                }
            });
}

void XmlDocument::forgetPlaces(pugi::xml_node node) noexcept
{
    if (places.empty())
    {
        return;
    }
    forTree(node,
            [this](pugi::xml_node gone)
            {
                places.erase(gone.internal_object());
                for (const auto attribute : gone.attributes())
                {
                    places.erase(attribute.internal_object());
                }
            });
}

} // namespace ModelEditor
