#include "Applications/ModelEditor/Document/StartTag.h"

#include <algorithm>

namespace ModelEditor
{

namespace
{

constexpr std::string_view space = " \t\r\n";
constexpr std::string_view behindName = " \t\r\n=/>";

std::size_t skip(std::string_view source, std::string_view characters, std::size_t offset)
{
    return std::min(source.find_first_not_of(characters, offset), source.size());
}

std::size_t seek(std::string_view source, std::string_view characters, std::size_t offset)
{
    return std::min(source.find_first_of(characters, offset), source.size());
}

} // namespace

StartTag StartTag::read(std::string_view source, std::size_t nameOffset)
{
    StartTag tag;
    tag.end = seek(source, behindName, nameOffset);
    std::size_t name = skip(source, space, tag.end);
    while (source.at(name) != '>' && source.at(name) != '/')
    {
        const std::size_t nameEnd = seek(source, behindName, name);
        const std::size_t open = seek(source, "\"'", nameEnd);
        const std::size_t close = seek(source, {&source.at(open), 1}, open + 1);
        tag.attributes.push_back({.name = source.substr(name, nameEnd - name),
                                  .whole = {.offset = tag.end, .length = close + 1 - tag.end},
                                  .value = {.offset = open + 1, .length = close - open - 1}});
        tag.end = close + 1;
        name = skip(source, space, tag.end);
    }
    return tag;
}

const StartTag::Attribute* StartTag::find(std::string_view name) const
{
    const auto found = std::ranges::find(attributes, name, &Attribute::name);
    return found == attributes.end() ? nullptr : &*found;
}

} // namespace ModelEditor
