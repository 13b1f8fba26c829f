#include "FaultsOfTheseServices.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

namespace Valdane::Faults
{

namespace
{

void forAllLoggers(const auto& action)
{
    for (const char* name : {"CommandManager", "MacroCommand", "ThreadedMacroCommand"})
    {
        action(*spdlog::get(std::string("Service/CommandPattern/") + name));
    }
}

} // namespace

Services::Services()
{
    forAllLoggers(
        [](spdlog::logger& logger)
        {
            logger.sinks() = {std::make_shared<spdlog::sinks::null_sink_mt>()};
            logger.set_level(spdlog::level::trace);
        });
}

void Services::stopTracing()
{
    forAllLoggers([](spdlog::logger& logger) { logger.set_level(spdlog::level::err); });
}

Services::~Services()
{
    forAllLoggers([](spdlog::logger& logger) { logger.set_level(spdlog::level::off); });
}

} // namespace Valdane::Faults
