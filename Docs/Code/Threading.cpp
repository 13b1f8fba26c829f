// Threaded macros: which thread does what, progress, abort, failures that are skipped.

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <cmath>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Valdane::LegacyProgress;

const std::thread::id caller = std::this_thread::get_id();

void note(const std::string& what)
{
    std::cout << (std::this_thread::get_id() == caller ? "  caller: " : "  worker: ") << what
              << "\n";
}

using Parts = std::vector<std::string>;

// Loads a part of a model.
class Load : public Valdane::ThreadedCommand
{
public:
    Load(Parts& loaded, const std::string& name)
        : ThreadedCommand("Load " + name), parts(loaded), part(name)
    {
    }

    void run() override
    {
        isDone = false;
        note("read " + part);
        if (part == "wing")
        {
            throw std::runtime_error("there is no such part");
        }
        getProgress()->moveTo(0.5 * LegacyProgress::FullRange);
        note("check " + part);
        getProgress()->setComplete();
    }

    void finishRun() override {}

    // The parts belong to the caller's thread.
    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            handOver();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void execute() override
    {
        ThreadedCommand::execute();
        handOver();
    }

    void undo() override
    {
        if (isDone)
        {
            note("forget " + part);
            parts.pop_back();
        }
    }

    void redo() override
    {
        if (isDone)
        {
            handOver();
        }
    }

private:
    void handOver()
    {
        note("keep " + part);
        parts.push_back(part);
        isDone = true;
    }

    Parts& parts;
    std::string part;
    bool isDone = false;
};

// Looks for a solution until there is one, or somebody has had enough.
class Solve : public Valdane::ThreadedCommand
{
public:
    Solve() : ThreadedCommand("Solve") {}

    void run() override
    {
        while (!isAborted())
        {
            std::this_thread::yield();
        }
    }

    void finishRun() override {}
    void undo() override {}
};

// An ordinary command.
class Show : public Valdane::CommandBase
{
public:
    explicit Show(const Parts& loaded) : CommandBase("Show"), parts(loaded) {}

    void execute() override { note("show " + std::to_string(parts.size()) + " parts"); }
    void undo() override {}

private:
    const Parts& parts;
};

std::shared_ptr<Valdane::ThreadedMacroCommand> loadBaseAndArm(Parts& parts)
{
    auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Load model");
    macro->addCommand(std::make_shared<Load>(parts, "base"));
    macro->addCommand(std::make_shared<Load>(parts, "arm"));
    macro->addCommand(std::make_shared<Show>(parts));
    return macro;
}

// For an application that has nothing else to do meanwhile.
void waitFor(Valdane::CommandManager& manager)
{
    while (manager.getCurrentThreadedCommand() != nullptr)
    {
        manager.finalizeThread();
    }
}

void runMacro()
{
    Parts parts;
    Valdane::CommandManager manager;
    manager.addThreadedCommand(loadBaseAndArm(parts));
    waitFor(manager);
    manager.undo(1);
}

void runAsAnOrdinaryCommand()
{
    Parts parts;
    Valdane::CommandManager manager;
    manager.addCommand(std::make_shared<Load>(parts, "base"));
    manager.undo(1);
    manager.redo(1);
}

void runSynchronously()
{
    Parts parts;
    Valdane::CommandManager manager;
    manager.getThreadManager()->setThreadingMode(0);
    manager.addThreadedCommand(loadBaseAndArm(parts));
}

void showProgress()
{
    Parts parts;
    Valdane::CommandManager manager;
    const auto macro = loadBaseAndArm(parts);
    const auto* progress = macro->getProgressPtr();
    macro->getProgress()->setChangeCallback(
        [progress] { note(std::to_string(std::lround(100 * progress->fraction())) + " %"); });
    manager.addThreadedCommand(macro);
    waitFor(manager);
}

void abortHalfWay()
{
    Parts parts;
    Valdane::CommandManager manager;
    const auto finished = manager.connectToSigThreadedCommandFinished([] { note("finished"); });
    auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Load and solve");
    macro->addCommand(std::make_shared<Load>(parts, "base"));
    macro->addCommand(std::make_shared<Solve>());
    manager.addThreadedCommand(macro);
    manager.finalizeThread(); // the base is loaded, the solver is started

    manager.abortThreadedCommand();
    manager.finalizeThread();
    note(manager.canUndo() ? "there is something to undo" : "there is nothing to undo");
}

void abortInANestedMacro()
{
    Parts parts;
    Valdane::CommandManager manager;
    const auto finished = manager.connectToSigThreadedCommandFinished([] { note("finished"); });
    auto nested = std::make_shared<Valdane::ThreadedMacroCommand>("Solve");
    nested->addCommand(std::make_shared<Solve>());
    auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Load and solve");
    macro->addCommand(std::make_shared<Load>(parts, "base"));
    macro->addCommand(nested);
    macro->addCommand(std::make_shared<Show>(parts));
    manager.addThreadedCommand(macro);
    manager.finalizeThread(); // the base is loaded, the solver is started

    manager.abortThreadedCommand();
    manager.finalizeThread();
    note(manager.canUndo() ? "there is something to undo" : "there is nothing to undo");
}

// One nested macro after another: each abort ends one of them.
void stopEverything()
{
    Valdane::CommandManager manager;
    auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Solve twice");
    for (int i = 0; i < 2; ++i)
    {
        auto nested = std::make_shared<Valdane::ThreadedMacroCommand>("Solve");
        nested->addCommand(std::make_shared<Solve>());
        macro->addCommand(nested);
    }
    manager.addThreadedCommand(macro);
    while (manager.getCurrentThreadedCommand() != nullptr)
    {
        manager.abortThreadedCommand();
        manager.finalizeThread();
    }
    note(manager.canUndo() ? "there is something to undo" : "there is nothing to undo");
}

void skipFailures()
{
    Parts parts;
    Valdane::CommandManager manager;
    auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Load model");
    macro->setContinueOnException(true);
    macro->setFailCountToThrow(10);
    macro->addCommand(std::make_shared<Load>(parts, "wing"));
    macro->addCommand(std::make_shared<Load>(parts, "arm"));
    manager.addThreadedCommand(macro);
    waitFor(manager);
    manager.undo(1);
}

// Errors go where the other lines go.
void setUpLog()
{
    const auto sink = std::make_shared<spdlog::sinks::stdout_sink_mt>();
    sink->set_pattern("  log: %v");
    spdlog::apply_all([&](const std::shared_ptr<spdlog::logger>& logger)
                      { logger->sinks() = {sink}; });
}

} // namespace

int main()
{
    setUpLog();
    std::cout << "A threaded macro, then its undo:\n";
    runMacro();
    std::cout << "Synchronous mode:\n";
    runSynchronously();
    std::cout << "An ordinary command:\n";
    runAsAnOrdinaryCommand();
    std::cout << "Progress:\n";
    showProgress();
    std::cout << "Abort:\n";
    abortHalfWay();
    std::cout << "Abort in a nested macro:\n";
    abortInANestedMacro();
    std::cout << "Abort of everything:\n";
    stopEverything();
    std::cout << "Failures are skipped:\n";
    skipFailures();
}
