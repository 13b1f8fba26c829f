// An application around an event loop. Its commands work on another thread. The loop shows their progress,
// finalizes them, and aborts them on Ctrl-C.

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>

#include <csignal>
#include <cstddef>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

// Sums up one column of numbers on the worker, and adds the sum to the total on the caller's thread. Not for
// addCommand(), which sends no finish signal.
class SumUp : public Valdane::ThreadedCommand
{
public:
    SumUp(int& variable, std::vector<int> numbers)
        : ThreadedCommand("Sum up"), total(variable), column(std::move(numbers))
    {
    }

    void run() override
    {
        isDone = false;
        sum = 0;
        getProgressPtr()->reset();
        for (std::size_t i = 0; i < column.size() && !isAborted(); ++i)
        {
            sum += column[i];
            const double part = static_cast<double>(i + 1) / static_cast<double>(column.size());
            getProgressPtr()->moveTo(part * Valdane::LegacyProgress::FullRange);
        }
    }

    void finishRun() override {}

    // On the caller's thread. False after an abort, even one that comes after the run.
    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            total += sum;
            isDone = true;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    // A macro calls this for an aborted thread, too.
    void undo() override
    {
        if (isDone)
        {
            total -= sum;
        }
    }

    // The sum is known.
    void redo() override
    {
        if (isDone)
        {
            total += sum;
        }
    }

private:
    int& total;
    std::vector<int> column;
    int sum = 0;
    bool isDone = false;
};

// Runs until Ctrl-C is pressed. Here it presses Ctrl-C itself.
class WaitForever : public Valdane::ThreadedCommand
{
public:
    WaitForever() : ThreadedCommand("Wait forever") {}

    void run() override
    {
        std::raise(SIGINT);
        while (!isAborted())
        {
            std::this_thread::yield();
        }
    }

    void finishRun() override {}

    void undo() override {}
};

class Application
{
public:
    Application()
    {
        // On the worker: nothing but post.
        manager.getThreadManager()->setRunEndedCallback([this] { post([this] { finalizeWhatHasEnded(); }); });
        finished = manager.connectToSigThreadedCommandFinished([this] { post([this] { nextStep(); }); });
        waitForInterrupt();
    }

    // Each step begins when the work of the one before has ended; the last one quits.
    void play(std::vector<std::function<void()>> session)
    {
        steps = std::move(session);
        post([this] { nextStep(); });
        loop.run();
    }

    void start(const std::shared_ptr<Valdane::ThreadedMacroCommand>& macro)
    {
        showProgressOf(*macro);
        manager.addThreadedCommand(macro);
        finalizeWhatHasEnded();
    }

    // Waiting for Ctrl-C is the last thing that keeps the loop running.
    void quit()
    {
        interrupt.cancel();
    }

    Valdane::CommandManager& getManager()
    {
        return manager;
    }

private:
    void post(std::function<void()> work)
    {
        boost::asio::post(loop, std::move(work));
    }

    void finalizeWhatHasEnded()
    {
        // Somebody may have finalized that run and started another one, and finalizeThread() would wait for it.
        if (manager.getThreadManager()->isRunEnded())
        {
            manager.finalizeThread();
        }
        // A macro may have skipped a thread that could not be started. No callback comes then.
        while (manager.getCurrentThreadedCommand() && !manager.getThreadManager()->getCurrentThread())
        {
            manager.finalizeThread();
        }
    }

    // The callback runs on the thread that is doing the work, so it reads the progress there and posts.
    void showProgressOf(Valdane::ThreadedMacroCommand& macro)
    {
        const auto show = [this, shown = 0, &progress = *macro.getProgress()]() mutable
        {
            const int percent = static_cast<int>(progress.fraction() * 100);
            if (percent > shown)
            {
                shown = percent;
                post([percent] { std::cout << "  " << percent << " %\n"; });
            }
        };
        macro.getProgress()->setChangeCallback(show);
    }

    void waitForInterrupt()
    {
        interrupt.async_wait(
            [this](const auto& error, int)
            {
                if (!error)
                {
                    std::cout << "  Ctrl-C\n";
                    manager.abortThreadedCommand();
                    waitForInterrupt();
                }
            });
    }

    void nextStep()
    {
        steps.at(next++)();
    }

    // The manager is destroyed first and waits for its worker, so the worker's last post finds the loop.
    boost::asio::io_context loop;
    boost::asio::signal_set interrupt{loop, SIGINT};
    std::vector<std::function<void()>> steps;
    std::size_t next = 0;
    Valdane::CommandManager manager;
    Valdane::Signals::Connection finished;
};

} // namespace

int main()
{
    int total = 0;
    Application application;
    Valdane::CommandManager& manager = application.getManager();
    const auto sumUp = [&](const std::string& description)
    {
        auto macro = std::make_shared<Valdane::ThreadedMacroCommand>(description);
        macro->addCommand(std::make_shared<SumUp>(total, std::vector{1, 2, 3}));
        macro->addCommand(std::make_shared<SumUp>(total, std::vector{10, 20}));
        return macro;
    };
    const auto tell = [&](const std::string& what)
    {
        std::cout << what << ": total " << total << ", to undo: " << manager.getQueueSize() << "\n";
    };

    // Keeps the loop waiting until the run has ended, so that the abort comes before the loop finalizes.
    const auto abortLate = [&]
    {
        while (!manager.getThreadManager()->isRunEnded())
        {
            std::this_thread::yield();
        }
        manager.abortThreadedCommand();
    };

    application.play({
        [&] { application.start(sumUp("Sum up columns")); },
        [&]
        {
            tell("finished");
            const auto endless = sumUp("Sum up and wait");
            endless->addCommand(std::make_shared<WaitForever>());
            application.start(endless);
        },
        [&]
        {
            tell("aborted");
            manager.addThreadedCommand(std::make_shared<SumUp>(total, std::vector{100}));
            abortLate();
        },
        [&]
        {
            tell("aborted late");
            manager.addThreadedCommand(sumUp("Sum up for nothing"));
            abortLate();
        },
        [&]
        {
            tell("aborted late");
            application.quit();
        },
    });
    manager.undo(1);
    tell("undone");
    manager.redo(1);
    tell("redone");
}
