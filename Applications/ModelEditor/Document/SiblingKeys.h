#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace ModelEditor
{

/// The keys of the elements below one element, each of which is made when its turn comes.
///
/// A key is the tag, followed by the number among the siblings of the same tag where there are several.
///
/// Thread: one at a time.
class SiblingKeys
{
public:
    /// @param parent  keeps its elements as long as this object is used.
    explicit SiblingKeys(pugi::xml_node parent);

    SiblingKeys(SiblingKeys&&) = default;

    /// The key of the next element that has @p tag. @pre there is one (not checked).
    std::string next(std::string_view tag);

private:
    struct SameTag
    {
        std::size_t count = 0;
        std::size_t used = 0;
    };

    SameTag& of(std::string_view tag);

    std::unordered_map<std::string_view, SameTag> tags;
    std::pair<const std::string_view, SameTag>* last = nullptr;
};

} // namespace ModelEditor
