#pragma once

#include <memory>
#include <utility>

namespace ValdaneTests
{

/// Runs an action when the last owner of the result lets go of it, such as the last copy of a callable that captures it.
template <typename Action>
std::shared_ptr<void> whenDestroyed(Action action)
{
    return {nullptr, [action = std::move(action)](void*)
            {
                action();
            }};
}

} // namespace ValdaneTests
