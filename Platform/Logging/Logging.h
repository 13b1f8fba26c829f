#pragma once

#include "Platform/Logging/LoggingExport.h"

#include <string>

namespace Valdane
{

/// Writes the log lines of one source file; one static object per logging source file.
///
/// Each object writes to the spdlog logger that has its name, at spdlog's levels `trace` and `err`. Levels,
/// sinks and format are set with spdlog itself:
///
///     spdlog::get("Service/CommandPattern/MacroCommand")->set_level(spdlog::level::trace);
///
/// The registry is the one of the shared spdlog library: link the compiled spdlog (`spdlog::spdlog` in
/// CMake), because a header-only spdlog is a second one that does not know these loggers.
///
/// Trace lines are off until the application lowers the logger's level, and then cost the test of a level.
///
/// Lifetime: destroying a Logging object does nothing, so it can be used until the end of static destruction,
/// and after `spdlog::drop_all()` and `spdlog::shutdown()`: its logger and the sinks of it are never freed.
/// Thread: any thread, with sinks that are safe for several threads (`_mt`). Change the list of a logger's
/// sinks only while nobody writes.
class VALDANE_LOGGING_EXPORT Logging
{
public:
    /// Takes the spdlog logger named @p sourceFile, or makes and registers it where there is none: with the
    /// sinks of spdlog's default logger as they are (with one to stderr where that logger has been dropped),
    /// and with the level, flush level, backtrace and error handler that spdlog gives to new loggers.
    ///
    /// Safe during static initialisation, in any order. Not during static destruction.
    ///
    /// @param sourceFile  name of the logger, by custom the path of the source file without its ending.
    /// @throws std::bad_alloc, or what spdlog throws when it cannot make the logger.
    explicit Logging(const std::string& sourceFile);

    /// Writes @p text as it is at level `trace`; format placeholders, line ends and NULs in it mean nothing.
    ///
    /// The place reaches the sinks as `spdlog::source_loc`. A null @p file is "no place" and a null @p
    /// function is empty. Both texts are kept by pointer: asynchronous loggers and backtraces read them
    /// later, so pass literals.
    ///
    /// What a sink throws goes to spdlog's error handler and not to the caller, and the other sinks still get
    /// the line; for what is no std::exception they may miss it. What the error handler throws is dropped.
    ///
    /// Does not allocate while trace is off.
    void logTRACE(const std::string& text, const char* file, const char* function, int line) const noexcept;

    /// Writes @p text at level `err`; all else as for logTRACE.
    void logERROR(const std::string& text, const char* file, const char* function, int line) const noexcept;

    /// Whether logTRACE does anything now: the level lets trace lines pass, or spdlog's backtrace collects
    /// them.
    bool isTraceEnabled() const noexcept;

private:
    struct Record;

    const Record* record;
};

} // namespace Valdane
