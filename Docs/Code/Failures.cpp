// What failures leave: of commands, macros, slots and threads.

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <iostream>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>

using Valdane::CommandManager;
using Valdane::MacroCommand;
using Valdane::ThreadedMacroCommand;

namespace
{

enum class Fails
{
    Never,
    OnExecute,
    OnUndo,
    Strangely
};

struct Stranger
{
};

// Appends a letter to a text.
class Append : public Valdane::CommandBase
{
public:
    Append(std::string& changedText, char appended, Fails when = Fails::Never)
        : CommandBase(std::string("Append ") + appended),
          text(changedText),
          letter(appended),
          fails(when)
    {
    }

    void execute() override
    {
        if (fails == Fails::OnExecute)
        {
            throw std::runtime_error("no room");
        }
        if (fails == Fails::Strangely)
        {
            throw Stranger();
        }
        text += letter;
        isAppended = true;
    }

    void undo() override
    {
        if (fails == Fails::OnUndo)
        {
            throw std::runtime_error("is locked");
        }
        // A macro that skips failures calls this for a sub-command that failed, too.
        if (isAppended)
        {
            text.pop_back();
            isAppended = false;
        }
    }

private:
    std::string& text;
    char letter;
    Fails fails;
    bool isAppended = false;
};

// Fails on the worker.
class Measure : public Valdane::ThreadedCommand
{
public:
    Measure() : ThreadedCommand("Measure") {}
    void run() override { throw std::runtime_error("no sensor"); }
    void finishRun() override {}
    void undo() override {}
};

std::string joined(const std::list<std::string>& texts)
{
    std::string line;
    for (const std::string& text : texts)
    {
        line += (line.empty() ? "" : ", ") + text;
    }
    return line.empty() ? "nothing" : line;
}

// A text, its history, and a slot for failures.
struct World
{
    explicit World(const std::string& title) { std::cout << "== " << title << "\n"; }

    std::shared_ptr<Append> append(char letter, Fails when = Fails::Never)
    {
        return std::make_shared<Append>(text, letter, when);
    }

    void fill(const std::string& letters)
    {
        for (const char letter : letters)
        {
            manager.addCommand(append(letter));
        }
    }

    void show() const
    {
        std::cout << "text '" << text
                  << "', to undo: " << joined(manager.collectUndoCommandDescriptions())
                  << "; to redo: " << joined(manager.collectRedoCommandDescriptions()) << "\n";
    }

    std::string text;
    CommandManager manager;
    Valdane::Signals::Connection failed = manager.connectToSigCommandFailed(
        [](const char* what, const std::string& description)
        { std::cout << "sigCommandFailed: " << what << " (" << description << ")\n"; });
};

void aCommandFails()
{
    World world("a command that fails");
    world.fill("ab");
    world.manager.undo(1);
    const bool done = world.manager.addCommand(world.append('x', Fails::OnExecute));
    std::cout << "addCommand: " << done << "\n";
    world.show();
}

void anUndoFails()
{
    World world("the second of three undos fails");
    world.fill("a");
    world.manager.addCommand(world.append('b', Fails::OnUndo));
    world.fill("c");
    const bool done = world.manager.undo(3);
    std::cout << "undo: " << done << "\n";
    world.show();
}

void aMacroFails(const std::string& title, Fails how)
{
    World world(title);
    const auto macro = std::make_shared<MacroCommand>("Append three");
    macro->addCommand(world.append('a'));
    macro->addCommand(world.append('b'));
    macro->addCommand(world.append('x', how));
    try
    {
        const bool done = world.manager.addCommand(macro);
        std::cout << "addCommand: " << done << "\n";
    }
    catch (const Stranger&)
    {
        std::cout << "addCommand: the caller has to catch a Stranger\n";
    }
    world.show();
}

void aSlotFails()
{
    World world("a slot fails");
    const auto connection = world.manager.connectToSigCommandQueueChanged(
        [](CommandManager::QueueChangeReason) { throw std::runtime_error("window is closed"); });
    try
    {
        world.manager.addCommand(world.append('a'));
    }
    catch (const std::exception& exception)
    {
        std::cout << "addCommand: the caller has to catch '" << exception.what() << "'\n";
    }
    world.show();
}

void aThreadFails()
{
    World world("a thread fails on the worker");
    world.manager.addThreadedCommand(std::make_shared<Measure>());
    std::cout << "running: " << world.manager.isProcessingCommand() << "\n";
    world.manager.finalizeThread();
    std::cout << "running: " << world.manager.isProcessingCommand() << "\n";
    world.show();
}

void someOfManyFail(int limit)
{
    World world("two of four sub-commands fail, the limit is " + std::to_string(limit));
    const auto macro = std::make_shared<ThreadedMacroCommand>("Append four", true);
    macro->setFailCountToThrow(limit);
    macro->addCommand(world.append('a'));
    macro->addCommand(world.append('x', Fails::OnExecute));
    macro->addCommand(world.append('b'));
    macro->addCommand(world.append('y', Fails::OnExecute));
    world.manager.addThreadedCommand(macro);
    world.show();
}

// All loggers write to the standard output, without the time.
void writeLogToStandardOutput()
{
    const auto sink = std::make_shared<spdlog::sinks::stdout_sink_mt>();
    sink->set_pattern("log: %v");
    spdlog::apply_all([&](const std::shared_ptr<spdlog::logger>& logger)
                      { logger->sinks() = {sink}; });
}

} // namespace

int main()
{
    writeLogToStandardOutput();
    std::cout << std::boolalpha;
    aCommandFails();
    anUndoFails();
    aMacroFails("the third command of a macro fails", Fails::OnExecute);
    aMacroFails("the third command of a macro throws a type of its own", Fails::Strangely);
    aSlotFails();
    aThreadFails();
    someOfManyFail(3);
    someOfManyFail(2);
}
