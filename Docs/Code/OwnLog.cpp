// The library's log lines in an application's own log.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <iostream>
#include <list>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{

using namespace Valdane;

// Sets a level, but not to less than nothing.
class SetLevel : public CommandBase
{
public:
    SetLevel(int& changed, int value) : CommandBase("Set level"), level(changed), other(value) {}

    void execute() override
    {
        if (other < 0)
        {
            throw std::runtime_error("there is no level below 0");
        }
        std::swap(level, other);
    }

    void undo() override { std::swap(level, other); }

private:
    int& level;
    int other;
};

// Writes each line to the application's own log, which here is a list.
class OwnSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit OwnSink(std::list<std::string>& written) : log(written) {}

private:
    void sink_it_(const spdlog::details::log_msg& line) override
    {
        const auto level = spdlog::level::to_string_view(line.level);
        log.push_back(std::string(level.begin(), level.end()) + ": " +
                      std::string(line.payload.begin(), line.payload.end()));
    }

    void flush_() override {}

    std::list<std::string>& log;
};

// Gives every logger this sink in place of those that it has.
void logInto(const spdlog::sink_ptr& sink)
{
    spdlog::apply_all([&](const auto& logger) { logger->sinks().assign(1, sink); });
}

} // namespace

int main()
{
    int level = 0;
    CommandManager manager;
    // Static, because the loggers keep the sink until the end.
    static std::list<std::string> lines;
    logInto(std::make_shared<OwnSink>(lines));
    spdlog::set_level(spdlog::level::err); // failures only
    manager.addCommand(std::make_shared<SetLevel>(level, -1));
    spdlog::set_level(spdlog::level::trace); // every step, too
    manager.addCommand(std::make_shared<SetLevel>(level, 3));
    spdlog::set_level(spdlog::level::off); // nothing
    manager.addCommand(std::make_shared<SetLevel>(level, -1));
    for (const std::string& line : lines)
    {
        std::cout << line << "\n";
    }
}
