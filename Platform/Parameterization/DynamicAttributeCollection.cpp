#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <algorithm>

namespace Valdane
{

namespace
{

auto withName(std::string_view name)
{
    return [name](const DynamicAttributeCollection::Entry& entry)
    {
        return entry.name == name;
    };
}

} // namespace

void DynamicAttributeCollection::set(std::string_view name, std::string_view text)
{
    const auto found = std::ranges::find_if(valdaneEntries, withName(name));
    if (found != valdaneEntries.end())
    {
        found->text = text;
        return;
    }
    valdaneEntries.push_back({.name = std::string(name), .text = std::string(text)});
}

std::optional<std::string> DynamicAttributeCollection::get(std::string_view name) const
{
    const auto found = std::ranges::find_if(valdaneEntries, withName(name));
    return found == valdaneEntries.end() ? std::nullopt : std::optional(found->text);
}

bool DynamicAttributeCollection::remove(std::string_view name)
{
    const auto found = std::ranges::find_if(valdaneEntries, withName(name));
    if (found == valdaneEntries.end())
    {
        return false;
    }
    valdaneEntries.erase(found);
    return true;
}

std::size_t DynamicAttributeCollection::size() const noexcept
{
    return valdaneEntries.size();
}

DynamicAttributeCollection::const_iterator DynamicAttributeCollection::begin() const noexcept
{
    return valdaneEntries.begin();
}

DynamicAttributeCollection::const_iterator DynamicAttributeCollection::end() const noexcept
{
    return valdaneEntries.end();
}

} // namespace Valdane
