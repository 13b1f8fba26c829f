// A command that works on another thread, three ways to learn that it is time to finalize it, and an
// abort that comes late.

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <thread>
#include <utility>

namespace
{

// Adds up the numbers from 1 to the limit.
class AddUp : public Valdane::ThreadedCommand
{
public:
    AddUp(std::uint64_t& variable, std::uint64_t limit)
        : ThreadedCommand("Add up"), total(variable), last(limit)
    {
    }

    // On the worker: reads and writes nothing but what belongs to this command.
    void run() override
    {
        isDone = false;
        sum = 0;
        for (std::uint64_t i = 1; i <= last && !isAborted(); ++i)
        {
            sum += i;
        }
    }

    void finishRun() override {}

    // On the caller's thread, to which the total belongs. False after an abort, even one that comes late.
    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            handOver();
        }
        else
        {
            takeBack();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    // addCommand() and a plain macro call this, and send no finish signal.
    void execute() override
    {
        ThreadedCommand::execute();
        handOver();
    }

    // A macro calls this for an aborted or failed thread, too.
    void undo() override
    {
        if (isDone)
        {
            std::swap(total, sum);
        }
    }

    // The work is not done a second time.
    void redo() override { undo(); }

private:
    void handOver()
    {
        std::swap(total, sum);
        isDone = true;
    }

    // There is something to take back only if a slot that was told true has thrown.
    void takeBack()
    {
        undo();
        isDone = false;
    }

    std::uint64_t& total;
    std::uint64_t last;
    std::uint64_t sum = 0;
    bool isDone = false;
};

// The application has an event loop: the callback comes on the worker and posts to it.
void finalizeFromAnEventLoop(std::uint64_t& total)
{
    Valdane::CommandManager manager;
    boost::asio::io_context loop;
    auto keepsRunning = boost::asio::make_work_guard(loop);
    const auto finalize = [&]
    {
        if (manager.getThreadManager()->isRunEnded())
        {
            manager.finalizeThread();
        }
    };
    manager.getThreadManager()->setRunEndedCallback([&] { boost::asio::post(loop, finalize); });
    const auto finished =
        manager.connectToSigThreadedCommandFinished([&] { keepsRunning.reset(); });

    manager.addThreadedCommand(std::make_shared<AddUp>(total, 1'000'000));
    loop.run();
    manager.undo(1);
}

// The application has something else to do and asks now and then.
void finalizeByPolling(std::uint64_t& total)
{
    Valdane::CommandManager manager;
    manager.addThreadedCommand(std::make_shared<AddUp>(total, 2'000'000));
    while (!manager.getThreadManager()->isRunEnded())
    {
        std::this_thread::yield();
    }
    manager.finalizeThread();
}

// The application waits, but wants to draw a progress bar meanwhile.
void finalizeByWaiting(std::uint64_t& total)
{
    Valdane::CommandManager manager;
    manager.addThreadedCommand(std::make_shared<AddUp>(total, 3'000'000));
    while (!manager.getThreadManager()->waitForRunEnd(std::chrono::milliseconds(100)))
    {
        // Draw here.
    }
    manager.finalizeThread();
}

// The user aborts when the run is over, but not yet finalized.
template <typename Command>
void abortLate(const std::shared_ptr<Command>& command)
{
    Valdane::CommandManager manager;
    manager.addThreadedCommand(command);
    while (!manager.getThreadManager()->isRunEnded())
    {
        std::this_thread::yield();
    }
    manager.abortThreadedCommand();
    manager.finalizeThread();
}

} // namespace

int main()
{
    std::uint64_t total = 0;
    finalizeFromAnEventLoop(total);
    std::cout << "event loop, undone: " << total << "\n";
    finalizeByPolling(total);
    std::cout << "polling: " << total << "\n";
    finalizeByWaiting(total);
    std::cout << "waiting: " << total << "\n";
    abortLate(std::make_shared<AddUp>(total, 4'000'000));
    std::cout << "aborted: " << total << "\n";
    const auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Add up in a macro");
    macro->addCommand(std::make_shared<AddUp>(total, 5'000'000));
    abortLate(macro);
    std::cout << "aborted macro: " << total << "\n";
    Valdane::CommandManager manager;
    manager.addCommand(std::make_shared<AddUp>(total, 10));
    std::cout << "without a worker: " << total << "\n";
}
