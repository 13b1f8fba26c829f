#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/smart_ptr/weak_ptr.hpp>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

namespace Valdane::Signals::Private
{

/// The objects without which a slot must not be called, of either family of smart pointers.
///
/// Thread: as the slot or the signal that it belongs to.
class TrackedObjects
{
public:
    void add(std::weak_ptr<const void> object)
    {
        objects.emplace_back(std::move(object));
    }

    void add(boost::weak_ptr<const void> object)
    {
        objects.emplace_back(std::move(object));
    }

    bool isEmpty() const noexcept
    {
        return objects.empty();
    }

    bool hasExpired() const noexcept
    {
        return std::ranges::any_of(objects, isExpired);
    }

    /// Runs @p call while all objects are kept alive.
    ///
    /// @return false if one of them has expired; nothing was called then.
    template <typename Call>
    bool callLocked(const Call& call) const
    {
        return callLockedFrom(0, call);
    }

private:
    using Object = std::variant<std::weak_ptr<const void>, boost::weak_ptr<const void>>;
    using Lock = std::variant<std::shared_ptr<const void>, boost::shared_ptr<const void>>;

    // Use counts decide, not the pointers: an aliasing pointer may be null although its owner lives.
    static bool isExpired(const Object& object) noexcept
    {
        return std::visit([](const auto& weak) { return weak.expired(); }, object);
    }

    static Lock lock(const Object& object) noexcept
    {
        return std::visit([](const auto& weak) { return Lock(weak.lock()); }, object);
    }

    static bool holds(const Lock& lock) noexcept
    {
        return std::visit([](const auto& shared) { return shared.use_count() != 0; }, lock);
    }

    // The locks lie in the frames of the recursion, because an emission must not allocate.
    template <typename Call>
    bool callLockedFrom(std::size_t index, const Call& call) const
    {
        if (index == objects.size())
        {
            call();
            return true;
        }
        const Lock object = lock(objects[index]);
        return holds(object) && callLockedFrom(index + 1, call);
    }

    std::vector<Object> objects;
};

} // namespace Valdane::Signals::Private
