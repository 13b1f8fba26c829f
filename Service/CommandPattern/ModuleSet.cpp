#include "Service/CommandPattern/ModuleSet.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

namespace Valdane
{

ModuleSet::Shared::Shared(Modules modules) : sorted(std::move(modules)) {}

ModuleSet::ModuleSet() noexcept = default;

ModuleSet::ModuleSet(const std::set<const Object*>& objects)
    : ModuleSet(Modules(objects.begin(), objects.end()))
{
}

ModuleSet::ModuleSet(const ModuleSet&) noexcept = default;
ModuleSet& ModuleSet::operator=(const ModuleSet&) noexcept = default;
ModuleSet::ModuleSet(ModuleSet&&) noexcept = default;
ModuleSet& ModuleSet::operator=(ModuleSet&&) noexcept = default;
ModuleSet::~ModuleSet() = default;

ModuleSet::ModuleSet(Modules modules) : shared(modules.empty() ? nullptr : new Shared(std::move(modules))) {}

void ModuleSet::insertInto(std::set<const Object*>& objects) const
{
    if (shared != nullptr)
    {
        objects.insert(shared->sorted.begin(), shared->sorted.end());
    }
}

bool ModuleSet::isSharedWith(const ModuleSet& other) const noexcept
{
    return shared == other.shared;
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
    Modules united;
    united.reserve(shared->sorted.size() + added.shared->sorted.size());
    std::ranges::set_union(shared->sorted, added.shared->sorted, std::back_inserter(united),
                           std::less<const Object*>());
    return ModuleSet(std::move(united));
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
    return std::ranges::all_of(
        other.shared->sorted, [this](const Object* module)
        { return std::ranges::binary_search(shared->sorted, module, std::less<const Object*>()); });
}

} // namespace Valdane
