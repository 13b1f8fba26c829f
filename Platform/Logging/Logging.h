#pragma once

#include "Platform/Logging/LoggingExport.h"

#include <string>

namespace Valdane
{

/// Writes the log lines of one source file; each source file that logs has one static object.
///
/// The object writes to the spdlog logger of its name, at spdlog's levels `trace` and `err`. Use spdlog to
/// set levels, sinks and format:
///
///     spdlog::get("Service/CommandPattern/MacroCommand")->set_level(spdlog::level::trace);
///
/// The loggers are in the registry of the shared spdlog library. So link the compiled spdlog
/// (`spdlog::spdlog` in CMake): a header-only spdlog has a registry of its own, which does not know these
/// loggers.
///
/// Trace lines are off until the application lowers the logger's level. While they are off, a trace line
/// costs the test of a level.
///
/// Lifetime: destroying a Logging object does nothing. The logger and its sinks are never freed. So the
/// object can be used until the end of static destruction, and after `spdlog::drop_all()` and
/// `spdlog::shutdown()`. Thread: any thread, with sinks that are safe for several threads (`_mt`). Change
/// the list of a logger's sinks only while nobody writes.
class VALDANE_LOGGING_EXPORT Logging
{
public:
    /// Takes the spdlog logger named @p sourceFile. If there is none, makes and registers it.
    ///
    /// A new logger shares the sinks of spdlog's default logger, whose format stays as it is. If that is the one which
    /// spdlog makes, for standard output, or was dropped, the new one writes to standard error. Level, flush level, backtrace and error handler are
    /// those that spdlog gives to new loggers.
    ///
    /// Safe during static initialisation, in any order. Not during static destruction.
    ///
    /// @param sourceFile  name of the logger; usually the path of the source file without its ending.
    /// @throws std::bad_alloc, or what spdlog throws if it cannot make or register the logger.
    explicit Logging(const std::string& sourceFile);

    /// Writes @p text at level `trace`, unchanged: placeholders, line ends and NULs in it have no meaning.
    ///
    /// The sinks get the place as `spdlog::source_loc`. A null @p file means no place, a null @p function
    /// an empty name. Pass literals for both: asynchronous loggers and backtraces keep the pointers and
    /// read them later.
    ///
    /// Never throws. If a sink throws a `std::exception`, spdlog's error handler is called, and the other
    /// sinks still get the line. They may miss it if the exception is of another type, if its what() is
    /// null, or if the error handler throws; what the error handler throws is dropped. For a what() that is
    /// null, the error handler may not be called.
    ///
    /// Does not allocate while trace is off.
    void logTRACE(const std::string& text, const char* file, const char* function, int line) const noexcept;

    /// Writes @p text at level `err`; otherwise as logTRACE().
    void logERROR(const std::string& text, const char* file, const char* function, int line) const noexcept;

    /// True if logTRACE() has an effect now: the level is `trace`, or spdlog's backtrace collects the lines.
    bool isTraceEnabled() const noexcept;

private:
    struct Record;

    const Record* valdaneRecord;
};

} // namespace Valdane
