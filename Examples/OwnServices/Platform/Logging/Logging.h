#pragma once

#include <string>

namespace Valdane
{

/// Writes into the journal of this application.
///
/// Can be used from static initialisation to the end of static destruction, because its constructor asks for
/// the journal. Thread: any.
class Logging
{
public:
    /// @param sourceFile  path of the source file that logs; its last part is put before every line.
    explicit Logging(const std::string& sourceFile);

    /// Writes @p text if the journal wants details. The place in the source is not shown.
    void logTRACE(const std::string& text, const char* file, const char* function, int line) const;

    /// Writes @p text in any case.
    void logERROR(const std::string& text, const char* file, const char* function, int line) const;

    /// Whether logTRACE() writes anything.
    bool isTraceEnabled() const;

private:
    std::string source;
};

} // namespace Valdane
