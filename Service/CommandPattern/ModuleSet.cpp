#include "Service/CommandPattern/ModuleSet.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace Valdane
{

ModuleSet::Shared::Shared(const std::set<const Object*>& objects) : sorted(objects.begin(), objects.end()) {}

ModuleSet::Shared::Shared(const Modules& first, const Modules& second)
{
    sorted.reserve(first.size() + second.size());
    std::ranges::set_union(first, second, std::back_inserter(sorted), std::less<>());
}

ModuleSet::ModuleSet(const std::set<const Object*>& objects)
    : ModuleSet(objects.empty() ? nullptr : new Shared(objects))
{
}

ModuleSet::ModuleSet(const Shared* newlyMade) noexcept : shared(newlyMade) {}

void ModuleSet::insertInto(std::set<const Object*>& objects) const
{
    if (shared != nullptr)
    {
        objects.insert(shared->sorted.begin(), shared->sorted.end());
    }
}

bool ModuleSet::operator==(const ModuleSet& other) const noexcept
{
    return isSharedWith(other) ||
           (!isEmpty() && !other.isEmpty() && std::ranges::equal(shared->sorted, other.shared->sorted));
}

ModuleSet ModuleSet::unitedWith(const ModuleSet& added) const
{
    if (contains(added))
    {
        return *this;
    }
    if (added.contains(*this))
    {
        return added;
    }
    return ModuleSet(new Shared(shared->sorted, added.shared->sorted));
}

bool ModuleSet::contains(const ModuleSet& other) const
{
    if (other.shared == nullptr || isSharedWith(other))
    {
        return true;
    }
    if (shared == nullptr || shared->sorted.size() < other.shared->sorted.size())
    {
        return false;
    }
    return std::ranges::all_of(other.shared->sorted, [this](const Object* module)
                               { return std::ranges::binary_search(shared->sorted, module, std::less<>()); });
}

} // namespace Valdane
