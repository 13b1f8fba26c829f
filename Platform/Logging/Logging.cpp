#include "Platform/Logging/Logging.h"

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Valdane
{

struct VALDANE_LOGGING_NO_EXPORT Logging::Record
{
    std::shared_ptr<spdlog::logger> logger;

    static const Record* of(const std::string& name);

    void write(spdlog::level::level_enum level, const std::string& text, const char* file,
               const char* function, int line) const noexcept;
};

namespace
{

// As spdlog makes it, writing to standard output, which is the application's own.
bool isUntouched(const spdlog::logger& common)
{
    const auto& sinks = common.sinks();
    return common.name().empty() && sinks.size() == 1 &&
           dynamic_cast<const spdlog::sinks::stdout_color_sink_mt*>(sinks.front().get()) != nullptr;
}

std::vector<spdlog::sink_ptr> sinksOfNewLoggers()
{
    static const auto& standardError =
        *new spdlog::sink_ptr(std::make_shared<spdlog::sinks::stderr_color_sink_mt>());
    const auto common = spdlog::default_logger();
    return common == nullptr || isUntouched(*common) ? std::vector{standardError} : common->sinks();
}

// spdlog sets up a new logger, and also sets the format of its sinks. These sinks are shared, and have the
// format that the application wants. So spdlog sets up a model without sinks, and the logger is a copy of
// the model.
std::shared_ptr<spdlog::logger> makeLogger(const std::string& name)
{
    const auto model = std::make_shared<spdlog::logger>(name);
    spdlog::initialize_logger(model);
    auto logger = model->clone(name);
    logger->sinks() = sinksOfNewLoggers();
    spdlog::drop(name);
    spdlog::register_logger(logger);
    return logger;
}

} // namespace

// The records are never freed. Static objects of any library may log in their destructors, after the
// records would have been destroyed.
//
// spdlog's registry is locked and unlocked inside this lock, never the other way round.
const Logging::Record* Logging::Record::of(const std::string& name)
{
    static std::mutex mutex;
    static auto& records = *new std::map<const spdlog::logger*, Record>;
    const std::lock_guard lock(mutex);
    auto logger = spdlog::get(name);
    if (!logger)
    {
        logger = makeLogger(name);
    }
    return &records.try_emplace(logger.get(), Record{logger}).first->second;
}

void Logging::Record::write(spdlog::level::level_enum level, const std::string& text, const char* file,
                            const char* function, int line) const noexcept
{
    try
    {
        const auto place = file == nullptr
                               ? spdlog::source_loc()
                               : spdlog::source_loc(file, line, function == nullptr ? "" : function);
        logger->log(place, level, spdlog::string_view_t(text));
    }
    catch (...) // NOLINT(bugprone-empty-catch)
    {
    }
}

Logging::Logging(const std::string& sourceFile) : valdaneRecord(Record::of(sourceFile)) {}

void Logging::logTRACE(const std::string& text, const char* file, const char* function,
                       int line) const noexcept
{
    valdaneRecord->write(spdlog::level::trace, text, file, function, line);
}

void Logging::logERROR(const std::string& text, const char* file, const char* function,
                       int line) const noexcept
{
    valdaneRecord->write(spdlog::level::err, text, file, function, line);
}

bool Logging::isTraceEnabled() const noexcept
{
    return valdaneRecord->logger->should_log(spdlog::level::trace) ||
           valdaneRecord->logger->should_backtrace();
}

} // namespace Valdane
