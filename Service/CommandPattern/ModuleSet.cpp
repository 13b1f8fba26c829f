#include "Service/CommandPattern/ModuleSet.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>
#include <vector>

// If each command of a history modifies another module, each entry has a set with one module more than its
// neighbour. Whole copies would take memory in proportion to the square of the history's length.
//
// A set is therefore a list of parts. A part is a sorted array of modules; each module is in one part only; each part
// is at least twice as large as the one before it, so that n modules have at most log2(n) + 1 parts. A union puts one
// new part in front. The new part takes in the modules of the parts that would be too small behind it, and shares the
// larger parts with the set from which the union was made. A module is thus copied O(log n) times while a set grows
// to n modules one by one.
//
// Two other designs were considered. A hash trie with copied paths takes several times the memory for each module
// that joins. A position for each module, from which on it is modified, cannot tell the sets of a history from which
// entries were taken, because they do not follow from one another.

namespace Valdane
{

// 2^32 modules do not fit into memory.
ModuleSet::Part* ModuleSet::Part::make(std::size_t count)
{
    void* const memory = ::operator new(sizeof(Part) + (count * sizeof(const Object*)));
    return new (memory) Part(static_cast<std::uint32_t>(count));
}

ModuleSet::ModuleSet(const std::set<const Object*>& objects)
{
    if (!objects.empty())
    {
        Part* const part = Part::make(objects.size());
        first = part;
        std::ranges::copy(objects, part->modules().begin());
    }
}

std::size_t ModuleSet::size() const noexcept
{
    std::size_t count = 0;
    for (const Part* part = first.get(); part != nullptr; part = part->next.get())
    {
        count += part->count;
    }
    return count;
}

// Begins with the last part, which has at least half of the modules. The recursion is as deep as the list is long.
bool ModuleSet::contains(const Part* part, const Object* module) noexcept
{
    return part != nullptr && (contains(part->next.get(), module) ||
                               std::ranges::binary_search(part->modules(), module, std::less<>()));
}

bool ModuleSet::operator==(const ModuleSet& other) const noexcept
{
    if (size() != other.size())
    {
        return false;
    }
    // Sets that were made by the same unions have equal parts up to those that they share.
    const Part* part = other.first.get();
    for (const Part* own = first.get(); own != part; own = own->next.get(), part = part->next.get())
    {
        if (!std::ranges::equal(own->modules(), part->modules()))
        {
            return containsAll(part);
        }
    }
    return true;
}

bool ModuleSet::containsAll(const Part* part) const noexcept
{
    for (; part != nullptr; part = part->next.get())
    {
        if (!std::ranges::all_of(part->modules(),
                                 [this](const Object* module) { return contains(first.get(), module); }))
        {
            return false;
        }
    }
    return true;
}

void ModuleSet::insertInto(std::set<const Object*>& objects) const
{
    // Part by part, each at least twice the one before it, so that the copies are linear.
    std::vector<const Object*> sorted;
    std::vector<const Object*> merged;
    for (const Part* part = first.get(); part != nullptr; part = part->next.get())
    {
        merged.resize(sorted.size() + part->count);
        std::ranges::merge(sorted, part->modules(), merged.begin(), std::less<>());
        sorted.swap(merged);
    }
    objects.insert(sorted.begin(), sorted.end());
}

ModuleSet ModuleSet::unitedWith(const ModuleSet& added) const
{
    if (isSharedWith(added) || containsAll(added.first.get()))
    {
        return *this;
    }
    std::vector<const Object*> joining;
    joining.reserve(added.size());
    for (const Part* part = added.first.get(); part != nullptr; part = part->next.get())
    {
        std::ranges::copy_if(part->modules(), std::back_inserter(joining),
                             [this](const Object* module) { return !contains(first.get(), module); });
    }
    return size() + joining.size() == added.size() ? added : withNewModules(joining);
}

ModuleSet ModuleSet::withNewModules(std::span<const Object* const> modules) const
{
    std::size_t count = modules.size();
    const Part* shared = first.get();
    for (; shared != nullptr && shared->count < 2 * count; shared = shared->next.get())
    {
        count += shared->count;
    }
    Part* const part = Part::make(count);
    ModuleSet set;
    set.first = part;
    part->next = shared;
    auto end = std::ranges::copy(modules, part->modules().begin()).out;
    for (const Part* taken = first.get(); taken != shared; taken = taken->next.get())
    {
        end = std::ranges::copy(taken->modules(), end).out;
    }
    std::ranges::sort(part->modules(), std::less<>());
    return set;
}

} // namespace Valdane
