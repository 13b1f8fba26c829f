#pragma once

#include <spdlog/sinks/base_sink.h>

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace Valdane::Testing
{

/// A line as a sink gets it.
struct LoggedLine
{
    std::string logger;
    spdlog::level::level_enum level = spdlog::level::off;
    std::string text;
    std::string file;
    std::string function;
    int line = 0;

    bool operator==(const LoggedLine&) const = default;

    friend std::ostream& operator<<(std::ostream& out, const LoggedLine& logged)
    {
        return out << logged.logger << " level " << logged.level << " at " << logged.file << ':'
                   << logged.line << " (" << logged.function << "): " << logged.text;
    }
};

/// Keeps every line that it gets. Thread: any.
class RecordingSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    std::vector<LoggedLine> lines()
    {
        const std::lock_guard lock(mutex_);
        return recorded;
    }

    std::vector<std::string> texts()
    {
        std::vector<std::string> result;
        for (const auto& line : lines())
        {
            result.push_back(line.text);
        }
        return result;
    }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        const auto& place = message.source;
        recorded.push_back({.logger = std::string(message.logger_name.data(), message.logger_name.size()),
                            .level = message.level,
                            .text = std::string(message.payload.data(), message.payload.size()),
                            .file = place.filename == nullptr ? "none" : place.filename,
                            .function = place.funcname == nullptr ? "none" : place.funcname,
                            .line = place.line});
    }

    void flush_() override {}

private:
    std::vector<LoggedLine> recorded;
};

} // namespace Valdane::Testing
