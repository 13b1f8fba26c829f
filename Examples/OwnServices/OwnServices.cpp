// The library on services of your own. You learn how an application with a journal, a worker thread and a
// tree of parts puts them in the place of ours, under the same header paths. The folder Platform has its
// services, Workshop what they stand on.

#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Workshop/JobQueue.h"
#include "Workshop/Journal.h"
#include "Workshop/Part.h"
#include "Workshop/Worker.h"

#include <cstddef>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using Valdane::CommandManager;
using Workshop::Journal;
using Workshop::Part;

// Adds lengths up, on the worker.
class AddUpCmd : public Valdane::ThreadedCommand
{
public:
    AddUpCmd(double& variable, std::vector<double> values)
        : ThreadedCommand("Add up"), total(variable), lengths(std::move(values))
    {
    }

    void run() override
    {
        if (lengths.empty())
        {
            throw std::invalid_argument("there is nothing to add up");
        }
        isOnWorker = std::this_thread::get_id() != caller;
        isDone = false;
        sum = 0;
        for (std::size_t i = 0; i < lengths.size() && !isAborted(); ++i)
        {
            sum += lengths[i];
        }
    }

    void finishRun() override {}

    // On the caller's thread, to which the total belongs.
    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            std::swap(total, sum);
            isDone = true;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    // A macro calls both for an aborted or failed thread, too.
    void undo() override
    {
        if (isDone)
        {
            std::swap(total, sum);
        }
    }

    void redo() override
    {
        undo();
    }

    std::thread::id caller = std::this_thread::get_id();
    bool isOnWorker = false;

private:
    double& total;
    std::vector<double> lengths;
    double sum = 0;
    bool isDone = false;
};

// Runs until it is aborted.
class WatchCmd : public Valdane::ThreadedCommand
{
public:
    WatchCmd() : ThreadedCommand("Watch") {}

    void run() override
    {
        while (!isAborted())
        {
            std::this_thread::yield();
        }
    }

    void finishRun() override
    {
        isDone = true;
    }

    void undo() override {}

    bool isDone = false;
};

void editParts(CommandManager& manager, const std::shared_ptr<Part>& beam)
{
    const auto renamed =
        beam->getSigRenamed().connect([](const std::string& name) { std::cout << "name: " << name << "\n"; });
    const auto changed = beam->getLengthAttribute()->getSigChanged().connect(
        [](const double& length) { std::cout << "length: " << length << "\n"; });

    Journal::get().setDetailed(true);
    manager.addCommand(std::make_shared<Valdane::SetNameCmd>(beam, "Ridge beam", "Rename beam"));
    Journal::get().setDetailed(false);

    Valdane::SetAttributecommandFactory typed(beam);
    const Valdane::AttributeDescription<double>* const length = beam->getLengthAttribute().get();
    manager.addCommand(typed.createCommand(length, "4.5", {}));
    std::cout << "done: " << manager.addCommand(typed.createCommand(length, "-1", {})) << "\n";

    manager.undoAll();
    manager.redoAll();
}

void addUpOnTheWorker(CommandManager& manager, Workshop::JobQueue& mainThread, double& total)
{
    const auto command = std::make_shared<AddUpCmd>(total, std::vector{4.5, 2.0, 2.0});
    manager.addThreadedCommand(command);
    mainThread.runNext();
    std::cout << "total: " << total << ", on the worker: " << command->isOnWorker << "\n";
    manager.undo(1);
    std::cout << "total: " << total << "\n";
    manager.redo(1);
    std::cout << "total: " << total << "\n";

    manager.addThreadedCommand(std::make_shared<AddUpCmd>(total, std::vector<double>{}));
    mainThread.runNext();
}

void abortTheWorker(CommandManager& manager, Workshop::JobQueue& mainThread)
{
    const auto command = std::make_shared<WatchCmd>();
    manager.addThreadedCommand(command);
    manager.abortThreadedCommand();
    mainThread.runNext();
    std::cout << "ended: " << command->isDone << ", kept: " << (manager.getUndoCommand() == command) << "\n";
}

// The run is over by then, but not yet finalized.
template <typename Command>
void abortLate(CommandManager& manager, Workshop::JobQueue& mainThread,
               const std::shared_ptr<Command>& command)
{
    manager.addThreadedCommand(command);
    while (!manager.getThreadManager()->isRunEnded())
    {
        std::this_thread::yield();
    }
    manager.abortThreadedCommand();
    mainThread.runNext();
}

void abortLate(CommandManager& manager, Workshop::JobQueue& mainThread, double& total)
{
    abortLate(manager, mainThread, std::make_shared<AddUpCmd>(total, std::vector{1.0, 2.0}));
    std::cout << "total: " << total << "\n";
    const auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Add up in a macro");
    macro->addCommand(std::make_shared<AddUpCmd>(total, std::vector{1.0, 2.0}));
    abortLate(manager, mainThread, macro);
    std::cout << "total: " << total << "\n";
}

// A manager that was given no worker.
void addUpAtOnce(double& total)
{
    CommandManager manager;
    const auto command = std::make_shared<AddUpCmd>(total, std::vector{1.0, 2.0});
    manager.addThreadedCommand(command);
    std::cout << "total: " << total << ", on the worker: " << command->isOnWorker << "\n";
}

} // namespace

int main()
{
    // The top of the product, and a part of it.
    const auto roof = std::make_shared<Part>(1, "Roof", 6.0);
    const auto beam = std::make_shared<Part>(7, "Beam", 4.0);
    roof->add(beam);
    Workshop::JobQueue mainThread;
    Workshop::Worker worker;

    CommandManager manager;
    const auto finalize = [&]
    {
        if (manager.getThreadManager()->isRunEnded())
        {
            manager.finalizeThread();
        }
    };
    manager.getThreadManager()->runOn(worker, [&] { mainThread.post(finalize); });

    double total = 0;
    editParts(manager, beam);
    addUpOnTheWorker(manager, mainThread, total);
    abortTheWorker(manager, mainThread);
    abortLate(manager, mainThread, total);
    addUpAtOnce(total);
    for (const std::string& line : Journal::get().takeLines())
    {
        std::cout << line << "\n";
    }
}
