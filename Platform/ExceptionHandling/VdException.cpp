#include "Platform/ExceptionHandling/VdException.h"

namespace Valdane
{

VdException::VdException(const std::string& text, const std::source_location& place)
    : message(std::make_shared<const std::string>(text)), location(place)
{
}

VdException::~VdException() = default;

const char* VdException::what() const noexcept
{
    return message->c_str();
}

std::string VdException::getLocation() const
{
    return std::string(location.file_name()) + ":" + std::to_string(location.line()) + " (" +
           location.function_name() + ")";
}

} // namespace Valdane
