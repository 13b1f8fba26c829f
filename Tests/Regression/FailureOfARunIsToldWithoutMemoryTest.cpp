// Nothing that is derived from std::exception gets out of addThreadedCommand() and finalizeThread(). Where
// there was no memory for the error line, sigCommandFailed was not emitted either, so that nobody learned of
// the failure at all.

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandTesting/Allocations.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace Valdane
{
namespace
{

class OutOfOrder : public std::exception
{
public:
    const char* what() const noexcept override
    {
        return "out of order";
    }
};

/// Fails, and leaves no memory behind.
class Greedy : public ThreadedCommand
{
public:
    explicit Greedy(std::optional<FailingAllocation>& toBeFilled)
        : ThreadedCommand("a command that takes all the memory there is"), noMemory(toBeFilled)
    {
    }

    void run() override
    {
        noMemory.emplace(0, AllocationsThatFail::AllFromThereOn);
        throw OutOfOrder();
    }

    void finishRun() override {}

    void undo() override {}

private:
    std::optional<FailingAllocation>& noMemory;
};

TEST(FailureOfARunIsToldWithoutMemory, BySigCommandFailed)
{
    CommandManager manager;
    manager.getThreadManager()->setThreadingMode(0);
    std::optional<FailingAllocation> noMemory;
    int failures = 0;
    bool isOutOfOrder = false;
    const auto connection = manager.connectToSigCommandFailed(
        [&](const char* what, const std::string&)
        {
            ++failures;
            isOutOfOrder = std::string_view(what) == "out of order";
        });
    const auto command = std::make_shared<Greedy>(noMemory);
    EXPECT_NO_THROW(manager.addThreadedCommand(command));
    noMemory.reset();
    EXPECT_EQ(failures, 1);
    EXPECT_TRUE(isOutOfOrder);
    EXPECT_FALSE(manager.isProcessingCommand());
}

} // namespace
} // namespace Valdane
