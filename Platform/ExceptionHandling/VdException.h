#pragma once

#include "Platform/ExceptionHandling/ExceptionHandlingExport.h"

#include <exception>
#include <memory>
#include <source_location>
#include <string>

namespace Valdane
{

/// The framework's exception: a message and the place in the source that threw it.
///
/// Copies share their text, so copying never throws.
///
/// Thread: immutable; safe from any thread.
class VALDANE_EXCEPTIONHANDLING_EXPORT VdException : public std::exception
{
public:
    /// @param message   what went wrong, for a person; may be empty.
    /// @param location  the place of the throw; the default is the line that calls this constructor.
    /// @throws std::bad_alloc
    explicit VdException(const std::string& message,
                         const std::source_location& location = std::source_location::current());

    /// Shares the text.
    VdException(const VdException&) noexcept = default;
    VdException& operator=(const VdException&) noexcept = default;
    ~VdException() override;

    /// The message, never null; valid as long as this exception or a copy of it lives.
    const char* what() const noexcept override;

    /// The place of the throw as `<file>:<line> (<function>)`.
    std::string getLocation() const;

private:
    std::shared_ptr<const std::string> valdaneMessage;
    std::source_location valdaneLocation;
};

} // namespace Valdane
