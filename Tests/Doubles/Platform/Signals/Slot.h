#pragma once

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane::Signals
{

template <typename Signature>
class Slot;

template <typename... Args>
class Slot<void(Args...)>
{
public:
    template <typename Function>

    requires(!std::is_same_v<std::remove_cvref_t<Function>, Slot> && std::is_invocable_v<Function&, Args...>)
        Slot(Function&& function)
        : callable(std::forward<Function>(function))
    {
    }

    Slot& track(const std::weak_ptr<const void>& object)
    {
        tracked.push_back(object);
        return *this;
    }

    std::function<void(Args...)> callable;
    std::vector<std::weak_ptr<const void>> tracked;
};

} // namespace Valdane::Signals
