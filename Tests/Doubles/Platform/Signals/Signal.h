#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace Valdane::Signals
{

enum class ConnectPosition
{
    Back = 0,
    Front = 1,
};

template <typename Signature>
class Signal;

template <typename... Args>
class Signal<void(Args...)>
{
public:
    [[nodiscard]] Connection connect(const Slot<void(Args...)>& slot,
                                     ConnectPosition position = ConnectPosition::Back)
    {
        auto isConnected = std::make_shared<bool>(true);
        slots.insert(position == ConnectPosition::Back ? slots.end() : slots.begin(), {slot, isConnected});
        return Connection(isConnected);
    }

    void operator()(Args... arguments) const
    {
        const std::vector<Entry> called = slots;
        for (const Entry& entry : called)
        {
            const bool expired =
                std::ranges::any_of(entry.slot.tracked, [](const auto& object) { return object.expired(); });
            if (*entry.isConnected && !expired)
            {
                entry.slot.callable(arguments...);
            }
        }
    }

private:
    struct Entry
    {
        Slot<void(Args...)> slot;
        std::shared_ptr<bool> isConnected;
    };

    std::vector<Entry> slots;
};

} // namespace Valdane::Signals
