#include "Platform/Logging/LogMessage.h"

namespace Valdane
{

LogMessage::LogMessage(const std::string& text, Type type, const std::string& second)
    : message(text), details(second), seriousness(type)
{
}

const std::string& LogMessage::getText() const noexcept
{
    return message;
}

LogMessage::Type LogMessage::getType() const noexcept
{
    return seriousness;
}

const std::string& LogMessage::getSecondText() const noexcept
{
    return details;
}

} // namespace Valdane
