#pragma once

#include "Platform/ExceptionHandling/VdException.h"

#include <functional>
#include <string>

namespace Valdane
{

/// The message of the VdException that @p action throws.
inline std::string messageOf(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const VdException& exception)
    {
        return exception.what();
    }
    return "nothing thrown";
}

} // namespace Valdane
