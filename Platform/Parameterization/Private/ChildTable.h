#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace Valdane
{

class Object;

namespace Private
{

/// The children of one object: in order, and found by key.
///
/// Every operation on one child costs the same however many there are. The keys are read through @p KeyOf, a
/// stateless function object from `const Object&` to `std::string_view`, and never copied.
///
/// Thread: none of its own; that of the object.
template <typename KeyOf>
class ChildTable
{
public:
    using List = std::list<std::shared_ptr<Object>>;

    const List& inOrder() const noexcept
    {
        return ordered;
    }

    /// The child's place, null if there is none.
    const std::shared_ptr<Object>* find(std::string_view key) const
    {
        const auto found = index.find(key);
        return found == index.end() ? nullptr : &**found;
    }

    /// @pre no child has the same key. @throws std::bad_alloc, the table then unchanged.
    void append(std::shared_ptr<Object> child)
    {
        List one;
        one.push_back(std::move(child));
        index.insert(one.begin());
        ordered.splice(ordered.end(), one);
    }

    /// Puts @p child in the place of the child with the same key. @return that one. @pre there is one.
    std::shared_ptr<Object> replace(std::shared_ptr<Object> child)
    {
        const auto found = index.find(KeyOf{}(*child));
        return std::exchange(**found, std::move(child));
    }

    /// @return the child that was removed, empty if there is none.
    std::shared_ptr<Object> remove(std::string_view key)
    {
        const auto found = index.find(key);
        if (found == index.end())
        {
            return {};
        }
        const auto place = *found;
        index.erase(found);
        auto child = std::move(*place);
        ordered.erase(place);
        return child;
    }

    /// Hands all children out, in order; the table is empty then.
    List release() noexcept
    {
        index.clear();
        return std::exchange(ordered, {});
    }

private:
    // A place in the list stays the same when neighbours go and when its child is replaced by one of the same
    // key.
    using Place = List::iterator;

    struct Hash
    {
        using is_transparent = void;

        // Not noexcept: the index then keeps the hashes, and a look-up reads only keys that have the same
        // one.
        std::size_t operator()(std::string_view key) const
        {
            return std::hash<std::string_view>{}(key);
        }

        std::size_t operator()(Place place) const
        {
            return (*this)(KeyOf{}(**place));
        }
    };

    struct Equal
    {
        using is_transparent = void;

        bool operator()(Place left, Place right) const
        {
            return left == right;
        }

        bool operator()(std::string_view key, Place place) const
        {
            return key == KeyOf{}(**place);
        }

        // libstdc++ asks in the one order, libc++ in the other.
        bool operator()(Place place, std::string_view key) const
        {
            return (*this)(key, place);
        }
    };

    List ordered;
    std::unordered_set<Place, Hash, Equal> index;
};

} // namespace Private
} // namespace Valdane
