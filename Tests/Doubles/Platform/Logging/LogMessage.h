#pragma once

#include <string>

namespace Valdane
{

class LogMessage
{
public:
    enum Type
    {
        Info = 0,
        Warning = 1,
        Error = 2,
    };

    LogMessage(const std::string& messageText, Type messageType, const std::string& secondText)
        : text(messageText), type(messageType), second(secondText)
    {
    }

    std::string text;
    Type type;
    std::string second;
};

} // namespace Valdane
