#include "Applications/ModelEditor/Document/SiblingKeys.h"

#include "Applications/ModelEditor/Document/XmlDocument.h"

namespace ModelEditor
{

SiblingKeys::SiblingKeys(pugi::xml_node parent)
{
    for (auto element = elementFrom(parent.first_child()); !element.empty();
         element = elementFrom(element.next_sibling()))
    {
        ++of(element.name()).count;
    }
}

std::string SiblingKeys::next(std::string_view tag)
{
    auto& same = of(tag);
    ++same.used;
    std::string key(tag);
    if (same.count != 1)
    {
        key.append("[").append(std::to_string(same.used)).append("]");
    }
    return key;
}

// Neighbours mostly have the same tag.
SiblingKeys::SameTag& SiblingKeys::of(std::string_view tag)
{
    if (last == nullptr || last->first != tag)
    {
        last = &*tags.try_emplace(tag).first;
    }
    return last->second;
}

} // namespace ModelEditor
