#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>

namespace Valdane
{

class Object;

/// An immutable set of modules. It is one pointer wide, which is null for the empty set.
///
/// Copies share everything. A union shares with the larger of its sets what the two have in common, so that
/// a series of sets that grow by one module takes little memory.
///
/// Thread: all sets that share anything on one thread.
class ModuleSet
{
public:
    /// The empty set.
    ModuleSet() noexcept = default;
    explicit ModuleSet(const std::set<const Object*>& objects);
    ModuleSet(const ModuleSet&) noexcept = default;
    ModuleSet& operator=(const ModuleSet&) noexcept = default;
    ModuleSet(ModuleSet&&) noexcept = default;
    ModuleSet& operator=(ModuleSet&&) noexcept = default;
    ~ModuleSet() = default;

    bool isEmpty() const noexcept
    {
        return first == nullptr;
    }

    /// True if both sets have the same modules.
    ///
    /// Complexity: linear in what the sets do not share if they were made by the same unions; logarithmic if
    /// their sizes differ; else O(n log(n)^2).
    bool operator==(const ModuleSet& other) const noexcept;

    /// Adds the modules to @p objects.
    ///
    /// Complexity: linear if @p objects is empty.
    /// @throws std::bad_alloc
    void insertInto(std::set<const Object*>& objects) const;

    /// True if both are the same shared set. Equal sets need not be.
    bool isSharedWith(const ModuleSet& other) const noexcept
    {
        return first == other.first;
    }

    /// Returns the union of both sets. If this set contains @p added, that is this set itself, shared;
    /// otherwise, if @p added contains this set, it is @p added itself.
    ///
    /// Complexity: O(log(n)^2) for each module of @p added to look it up. The modules that join take
    /// O(log n) each in time and memory, amortised over the unions by which a set grows.
    /// @throws std::bad_alloc
    ModuleSet unitedWith(const ModuleSet& added) const;

private:
    struct Part;
    using PartPointer = boost::intrusive_ptr<const Part>;

    /// Some of the modules in ascending order, and the larger parts of the set.
    ///
    /// The modules lie behind this object in the same block of memory.
    struct Part : boost::intrusive_ref_counter<Part, boost::thread_unsafe_counter>
    {
        /// Makes a part for @p count modules, which the caller fills in.
        static Part* make(std::size_t count);

        /// Without a size, because the block is larger than this object: make() asks the global operator new.
        void operator delete(void* memory) // NOLINT(misc-new-delete-overloads)
        {
            ::operator delete(memory);
        }

        std::span<const Object* const> modules() const noexcept
        {
            return {reinterpret_cast<const Object* const*>(this + 1), count};
        }

        std::span<const Object*> modules() noexcept
        {
            return {reinterpret_cast<const Object**>(this + 1), count};
        }

        std::uint32_t count;
        PartPointer next;

    private:
        explicit Part(std::uint32_t moduleCount) noexcept : count(moduleCount) {}
    };

    /// True if @p part or a part behind it has @p module.
    static bool contains(const Part* part, const Object* module) noexcept;

    /// True if this set has all modules of @p part and of the parts behind it.
    bool containsAll(const Part* part) const noexcept;

    std::size_t size() const noexcept;

    /// Returns this set with @p modules, none of which it has.
    ModuleSet withNewModules(std::span<const Object* const> modules) const;

    PartPointer first;
};

} // namespace Valdane
