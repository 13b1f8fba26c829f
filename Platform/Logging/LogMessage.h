#pragma once

#include "Platform/Logging/LoggingExport.h"

#include <string>

namespace Valdane
{

/// A message for the user of the application; see LegacyProgress::sendMessage().
///
/// Thread: any number of threads may read it; assigning to it needs a lock.
class VALDANE_LOGGING_EXPORT LogMessage
{
public:
    /// How serious the message is.
    enum Type
    {
        Info = 0,
        Warning = 1,
        Error = 2
    };

    /// @param text    the message, one sentence; may be empty.
    /// @param type    how serious it is.
    /// @param second  details, for example what an exception said; may be empty.
    /// @throws std::bad_alloc
    LogMessage(const std::string& text, Type type, const std::string& second);

    /// The message; valid as long as this object.
    const std::string& getText() const noexcept;

    /// How serious the message is.
    Type getType() const noexcept;

    /// The details; valid as long as this object.
    const std::string& getSecondText() const noexcept;

private:
    std::string valdaneText;
    std::string valdaneSecondText;
    Type valdaneType;
};

} // namespace Valdane
