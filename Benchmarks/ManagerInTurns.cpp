// Kinds of adding a command against one another, and what a large macro takes, in one process and in turn: the
// speed of a machine varies. Writes medians, and of their ratios the quartiles, too.

#include "Benchmarks/Histories/ValdaneHistory.h"
#include "Benchmarks/Samples.h"
#include "Benchmarks/SecondThread.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

constexpr std::size_t count = 1000;
constexpr std::size_t repetitions = 501;

const Logging logger("Benchmarks/ManagerInTurns");

using Add = std::function<void(CommandManager&, int& number)>;

/// What @p count commands in a new manager take, to add them, and to destroy it with them.
struct Life
{
    double add = 0;
    double destroy = 0;
};

Life liveWith(const Add& one)
{
    int number = 0;
    std::size_t calls = 0;
    auto manager = std::make_unique<CommandManager>();
    const auto connection =
        manager->connectToSigCommandQueueChanged([&](CommandManager::QueueChangeReason) { hear(calls); });
    const double add = nanosecondsOf(
        [&]
        {
            for (std::size_t i = 0; i < count; ++i)
            {
                one(*manager, number);
            }
        });
    return {.add = add, .destroy = nanosecondsOf([&] { manager.reset(); })};
}

void addPlain(CommandManager& manager, int& number)
{
    manager.addCommand(std::make_shared<SetNumber>(number, 1, commandText));
}

void compareMerging()
{
    const auto addDrag = [](CommandManager& manager, int& number)
    {
        manager.addCommand(std::make_shared<DragNumber>(number, 1, commandText));
    };
    const auto merge = [](CommandManager& manager, int& number)
    {
        manager.addOrMergeCommand(std::make_shared<DragNumber>(number, 1, commandText));
    };
    Samples plain;
    Samples plainLife;
    Samples merged;
    Samples mergedLife;
    for (std::size_t repetition = 0; repetition < repetitions; ++repetition)
    {
        const Life withoutMerge = liveWith(addDrag);
        const Life withMerge = liveWith(merge);
        plain.push_back(withoutMerge.add);
        plainLife.push_back(withoutMerge.add + withoutMerge.destroy);
        merged.push_back(withMerge.add);
        mergedLife.push_back(withMerge.add + withMerge.destroy);
    }
    printRow("merging add, against add", merged, plain, count);
    printRow("the same and their destruction", mergedLife, plainLife, count);
}

/// Has a log write at level trace to a sink that drops the lines.
void traceToNowhere(const std::string& name, bool isTraced)
{
    const auto target = spdlog::get(name);
    target->sinks() = {std::make_shared<spdlog::sinks::null_sink_mt>()};
    target->set_level(isTraced ? spdlog::level::trace : spdlog::level::info);
}

double writeLines()
{
    const std::string before = "Execute command 'Set the pump's flow rate'...";
    const std::string after = "Command 'Set the pump's flow rate' executed.";
    return nanosecondsOf(
        [&]
        {
            for (std::size_t i = 0; i < count; ++i)
            {
                logger.logTRACE(before, __FILE__, "", 1);
                logger.logTRACE(after, __FILE__, "", 1);
            }
        });
}

void compareTrace()
{
    const std::string managerLog = "Service/CommandPattern/CommandManager";
    traceToNowhere("Benchmarks/ManagerInTurns", true);
    Samples lines;
    Samples more;
    for (std::size_t repetition = 0; repetition < repetitions; ++repetition)
    {
        traceToNowhere(managerLog, false);
        const double quiet = liveWith(addPlain).add;
        lines.push_back(writeLines());
        traceToNowhere(managerLog, true);
        more.push_back(liveWith(addPlain).add - quiet);
    }
    traceToNowhere(managerLog, false);
    printRow("trace of an add, against its two lines", more, lines, count);
}

/// For each sub-command; against calling the sub-commands alone, in the order in which the macro has them.
void measureMacro(std::size_t size, std::size_t times)
{
    int number = 0;
    const auto macro = std::make_shared<MacroCommand>(commandText);
    for (std::size_t i = 0; i < size; ++i)
    {
        macro->addCommand(std::make_shared<SetNumber>(number, 1, commandText));
    }
    CommandManager manager;
    manager.addCommand(macro);
    Samples undone;
    Samples undoneAlone;
    Samples redone;
    Samples redoneAlone;
    for (std::size_t i = 0; i < times; ++i)
    {
        undone.push_back(nanosecondsOf([&] { manager.undo(1); }));
        undoneAlone.push_back(nanosecondsOf(
            [&]
            {
                for (const std::shared_ptr<CommandBase>& command : *macro)
                {
                    command->undo();
                }
            }));
        redone.push_back(nanosecondsOf([&] { manager.redo(1); }));
        redoneAlone.push_back(nanosecondsOf(
            [&]
            {
                for (const std::shared_ptr<CommandBase>& command : *macro)
                {
                    command->redo();
                }
            }));
    }
    const std::string name = "macro of " + std::to_string(size);
    printRow(name + ", undo, against no macro", undone, undoneAlone, static_cast<double>(size));
    printRow(name + ", redo, against no macro", redone, redoneAlone, static_cast<double>(size));
}

} // namespace
} // namespace Valdane::Benchmarks

int main()
{
    using namespace Valdane::Benchmarks;
    const SecondThread thread;
    compareMerging();
    compareTrace();
    measureMacro(1'000, repetitions);
    measureMacro(100'000, 31);
    return 0;
}
