#include "Platform/ExceptionHandling/VdException.h"

namespace Valdane
{

VdException::VdException(const std::string& text, const std::source_location& place)
    : valdaneMessage(std::make_shared<const std::string>(text)), valdaneLocation(place)
{
}

VdException::~VdException() = default;

const char* VdException::what() const noexcept
{
    return valdaneMessage->c_str();
}

std::string VdException::getLocation() const
{
    return std::string(valdaneLocation.file_name()) + ":" + std::to_string(valdaneLocation.line()) + " (" +
           valdaneLocation.function_name() + ")";
}

} // namespace Valdane
