#pragma once

#include "Platform/Signals/Private/TrackedObjects.h"

#include <boost/smart_ptr/weak_ptr.hpp>

#include <concepts>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace Valdane::Signals
{

namespace Private
{

template <typename Signature>
class SignalHandler;

/// How an argument of a signal reaches its slots: never so that one slot could change it for the next, unless
/// the signature says so by a reference to non-const.
template <typename Argument>
using SlotArgument = std::conditional_t<std::is_reference_v<Argument> || std::is_scalar_v<Argument>, Argument,
                                        const Argument&>;

/// What a slot is made of: a copyable callable that takes the arguments, and not a slot itself.
template <typename Function, typename Slot, typename... Args>
concept FunctionOfSlot =
    !std::same_as<std::remove_cvref_t<Function>, Slot> && std::copy_constructible<std::decay_t<Function>> &&
    std::is_invocable_v<std::decay_t<Function>&, SlotArgument<Args>...>;

} // namespace Private

template <typename Signature>
class Slot;

/// A callable that can be connected to a signal, and the objects on whose life that depends.
///
/// Made implicitly from any copyable callable that takes the arguments (its result is ignored), so that a
/// lambda can be passed to `connect` as it is. A callable that does not fit takes part in no overload
/// resolution.
///
/// An argument declared by value reaches the callable as a const lvalue: all slots of an emission see the
/// same object, and one that wants its own copy takes it by value.
///
/// Ownership: holds a copy of the callable, and weak references to what it tracks. Copies are independent.
/// Thread: as a standard container.
template <typename... Args>
class Slot<void(Args...)>
{
    static_assert((!std::is_rvalue_reference_v<Args> && ...),
                  "the first slot would move the argument away from the others");

public:
    /// @param function  called on every emission.
    /// @throws std::bad_function_call if @p function is empty (a null pointer or an empty std::function).
    /// @throws what copying @p function throws.
    template <Private::FunctionOfSlot<Slot, Args...> Function>
    Slot(Function&& function) : callable(std::forward<Function>(function))
    {
        if (callable == nullptr)
        {
            throw std::bad_function_call();
        }
    }

    /// Makes connections of this slot end when @p object is destroyed.
    ///
    /// Takes weak and shared pointers, and keeps a weak one. From the time on when the object has no owner
    /// left the slot is not called, and counts as disconnected; its callable is destroyed by the next
    /// emission, or by disconnecting. During a call of the slot the object is kept alive. A pointer that
    /// never owned anything counts as expired. Several objects can be tracked: the first that expires ends
    /// it.
    ///
    /// Connections that were made before are not affected.
    ///
    /// @return this slot.
    /// @throws std::bad_alloc
    Slot& track(std::weak_ptr<const void> object)
    {
        trackedObjects.add(std::move(object));
        return *this;
    }

    /// The same for Boost's pointers.
    Slot& track(boost::weak_ptr<const void> object)
    {
        trackedObjects.add(std::move(object));
        return *this;
    }

private:
    template <typename Signature>
    friend class Private::SignalHandler;

    std::function<void(Private::SlotArgument<Args>...)> callable;
    Private::TrackedObjects trackedObjects;
};

} // namespace Valdane::Signals
