#pragma once

#include <boost/container/small_vector.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <set>

namespace Valdane
{

class Object;

/// An immutable set of modules, shared by all its copies: one pointer wide, which is null for the empty set.
///
/// Thread: all copies of a set on one thread.
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
        return shared == nullptr;
    }

    /// Whether both have the same modules. Cost: linear, where they are not the same shared set.
    bool operator==(const ModuleSet& other) const noexcept;

    /// Adds the modules to @p objects.
    void insertInto(std::set<const Object*>& objects) const;

    /// Whether both are the same shared set; equal sets need not be.
    bool isSharedWith(const ModuleSet& other) const noexcept
    {
        return shared == other.shared;
    }

    /// Both sets together: a new set only if neither contains the other.
    ///
    /// Cost: where @p added is the smaller one and is contained, its size times the logarithm of the other's;
    /// else linear.
    ModuleSet unitedWith(const ModuleSet& added) const;

private:
    // Most commands change one module, which then needs no second allocation.
    using Modules = boost::container::small_vector<const Object*, 1>;

    struct Shared : boost::intrusive_ref_counter<Shared, boost::thread_unsafe_counter>
    {
        explicit Shared(const std::set<const Object*>& objects);
        /// Both together.
        Shared(const Modules& first, const Modules& second);

        Modules sorted;
    };

    explicit ModuleSet(const Shared* newlyMade) noexcept;
    bool contains(const ModuleSet& other) const;

    boost::intrusive_ptr<const Shared> shared;
};

} // namespace Valdane
