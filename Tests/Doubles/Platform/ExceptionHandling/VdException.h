#pragma once

#include <exception>
#include <source_location>
#include <string>
#include <utility>

namespace Valdane
{

class VdException : public std::exception
{
public:
    explicit VdException(const std::string& text,
                         const std::source_location& place = std::source_location::current())
        : message(text), location(place)
    {
    }

    const char* what() const noexcept override
    {
        return message.c_str();
    }

    std::string getLocation() const
    {
        return std::string(location.file_name()) + ":" + std::to_string(location.line()) + " (" +
               location.function_name() + ")";
    }

private:
    std::string message;
    std::source_location location;
};

} // namespace Valdane
