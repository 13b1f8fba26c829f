#include "Platform/Logging/LogMessage.h"

namespace Valdane
{

LogMessage::LogMessage(const std::string& text, Type type, const std::string& second)
    : valdaneText(text), valdaneSecondText(second), valdaneType(type)
{
}

const std::string& LogMessage::getText() const noexcept
{
    return valdaneText;
}

LogMessage::Type LogMessage::getType() const noexcept
{
    return valdaneType;
}

const std::string& LogMessage::getSecondText() const noexcept
{
    return valdaneSecondText;
}

} // namespace Valdane
