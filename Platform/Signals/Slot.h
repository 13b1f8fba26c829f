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

/// How an argument of a signal reaches its slots. A slot cannot change it for the next one, unless the signature
/// has a reference to non-const.
template <typename Argument>
using SlotArgument = std::conditional_t<std::is_reference_v<Argument> || std::is_scalar_v<Argument>, Argument,
                                        const Argument&>;

/// A function that makes a slot: a copyable callable that takes the arguments, and not a slot itself.
template <typename Function, typename Slot, typename... Args>
concept FunctionOfSlot =
    !std::same_as<std::remove_cvref_t<Function>, Slot> && std::copy_constructible<std::decay_t<Function>> &&
    std::is_invocable_v<std::decay_t<Function>&, SlotArgument<Args>...>;

} // namespace Private

template <typename Signature>
class Slot;

/// A callable that can be connected to a signal, and the objects that it tracks.
///
/// A slot is made implicitly from any copyable callable that takes the arguments, so that a lambda can be passed
/// to `connect`. The callable's result is ignored. A callable that does not fit takes no part in overload
/// resolution.
///
/// An argument declared by value reaches the callable as a const lvalue. All slots of an emission see the same
/// object; a callable that wants its own copy takes it by value.
///
/// Ownership: holds a copy of the callable, and weak references to the tracked objects. Copies are independent.
/// A slot that was moved from cannot be connected until it is assigned to.
/// Thread: as a standard container.
template <typename... Args>
class Slot<void(Args...)>
{
    static_assert((!std::is_rvalue_reference_v<Args> && ...),
                  "the first slot would move the argument away from the others");

public:
    /// @param function  called on every emission.
    /// @throws std::bad_function_call if @p function is empty (a null pointer or an empty std::function).
    /// @throws whatever copying @p function throws.
    template <Private::FunctionOfSlot<Slot, Args...> Function>
    Slot(Function&& function) : callable(std::forward<Function>(function))
    {
        if (callable == nullptr)
        {
            throw std::bad_function_call();
        }
    }

    /// Ends connections of this slot when @p object is destroyed.
    ///
    /// Takes weak and shared pointers, and keeps a weak one. Once the object has no owner, the slot is not called
    /// and counts as disconnected. The next emission, or a disconnect, then destroys the callable. The object is
    /// kept alive during a call of the slot. A pointer that never owned anything counts as expired. Several
    /// objects can be tracked; the first that expires ends the connection.
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
