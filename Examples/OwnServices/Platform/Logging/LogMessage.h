#pragma once

#include <string>
#include <utility>

namespace Valdane
{

/// A message that a progress hands on to the user.
///
/// Thread: safe from any thread as long as nobody assigns to it.
class LogMessage
{
public:
    /// How serious it is.
    enum Type
    {
        Info = 0,
        Warning = 1,
        Error = 2,
    };

    /// @param messageText  what the user reads.
    /// @param secondText   details; this application shows none.
    LogMessage(std::string messageText, Type messageType, const std::string& /*secondText*/)
        : text(std::move(messageText)), type(messageType)
    {
    }

    std::string text;
    Type type;
};

} // namespace Valdane
