#pragma once

#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandManager.h"

#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>
#include <vector>

namespace Valdane
{

/// Keeps the manager and the threaded macro from writing the failures that a test makes to the console.
class QuietLogs
{
public:
    QuietLogs()
    {
        setLevel(spdlog::level::off);
    }

    QuietLogs(const QuietLogs&) = delete;
    QuietLogs& operator=(const QuietLogs&) = delete;

    ~QuietLogs()
    {
        setLevel(spdlog::level::info);
    }

private:
    static void setLevel(spdlog::level::level_enum level)
    {
        for (const char* name :
             {"Service/CommandPattern/CommandManager", "Service/CommandPattern/ThreadedMacroCommand"})
        {
            spdlog::get(name)->set_level(level);
        }
    }
};

/// A manager on the real services, and what it has emitted.
class ThreadingTest : public testing::Test
{
protected:
    void expectIdle() const
    {
        EXPECT_FALSE(manager->isProcessingCommand());
        EXPECT_EQ(manager->getCurrentThreadedCommand(), nullptr);
        EXPECT_EQ(threads->getCurrentThread(), nullptr);
    }

    const QuietLogs quiet;
    std::vector<std::string> signals;
    std::unique_ptr<CommandManager> manager = std::make_unique<CommandManager>();
    std::shared_ptr<ThreadManager> threads = manager->getThreadManager();

    Signals::Connection started =
        manager->connectToSigThreadedCommandStarted([this] { signals.emplace_back("started"); });
    Signals::Connection finished =
        manager->connectToSigThreadedCommandFinished([this] { signals.emplace_back("finished"); });
    Signals::Connection executed =
        manager->connectToSigCommandExecuted([this] { signals.emplace_back("executed"); });
    Signals::Connection failed =
        manager->connectToSigCommandFailed([this](const char* what, const std::string& description)
                                           { signals.push_back("failed " + description + ": " + what); });
};

} // namespace Valdane
