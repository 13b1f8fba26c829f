#pragma once

#include <QtGlobal>
#include <exception>

namespace Valdane
{

/// Calls @p act for an event. No exception may pass through the event loop: what is thrown ends in a line of qWarning().
template <typename Act>
void callForEvent(const Act& act) noexcept
{
    try
    {
        act();
    }
    catch (const std::exception& exception)
    {
        qWarning("%s", exception.what());
    }
    catch (...)
    {
        qWarning("an exception of unknown type");
    }
}

} // namespace Valdane
