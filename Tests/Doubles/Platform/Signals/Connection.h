#pragma once

#include <memory>
#include <utility>

namespace Valdane::Signals
{

class [[nodiscard]] Connection
{
public:
    Connection() = default;

    explicit Connection(std::shared_ptr<bool> slotIsConnected) : isConnected(std::move(slotIsConnected)) {}

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    Connection(Connection&& other) noexcept = default;

    Connection& operator=(Connection&& other) noexcept
    {
        const Connection previous(std::move(*this));
        isConnected = std::move(other.isConnected);
        return *this;
    }

    ~Connection()
    {
        disconnect();
    }

    void disconnect()
    {
        if (isConnected != nullptr)
        {
            *isConnected = false;
        }
        isConnected.reset();
    }

    bool connected() const
    {
        return isConnected != nullptr && *isConnected;
    }

    void releaseWithoutDisconnect()
    {
        isConnected.reset();
    }

private:
    std::shared_ptr<bool> isConnected;
};

} // namespace Valdane::Signals
