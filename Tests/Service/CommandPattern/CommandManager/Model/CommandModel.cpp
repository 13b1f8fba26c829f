#include "CommandModel.h"

#include <algorithm>
#include <vector>

namespace Valdane::Model
{

namespace
{

bool isMacro(const Command& command)
{
    return command.script == nullptr;
}

/// The rate of a command that is not a macro: the normal one.
constexpr int normalRate = 3;
constexpr int fastestRate = 5;

int rateOf(const Command& command)
{
    if (!isMacro(command))
    {
        return normalRate;
    }
    int average = fastestRate;
    for (const CommandPtr& part : command.parts)
    {
        average = rateOf(*part);
        note("Speed.add(" + std::to_string(average) + ")");
    }
    note("Speed.getAverageSpeed");
    return average;
}

/// The parts of the progress, in the order of @p parts.
void layOut(const Command& macro, const std::vector<CommandPtr>& parts)
{
    for (const CommandPtr& part : macro.parts)
    {
        note("Speed.add(" + std::to_string(rateOf(*part)) + ")");
    }
    note("progress.reset");
    note("progress.progress");
    int start = 0;
    for (const CommandPtr& part : parts)
    {
        const int rate = rateOf(*part);
        note("Speed.getPartitionFromRate(" + std::to_string(rate) + ")");
        note("progress.appendSubProgress(" + progressOf(*part) + ", " + std::to_string(start) + ", " +
             std::to_string(start + 10 * rate) + ")");
        start += 10 * rate;
    }
}

std::string logDescriptionOf(const Command& command)
{
    return command.description.empty() ? "Valdane::MacroCommand" : command.description;
}

void runPart(const Command& part, Call call)
{
    const std::string verb = call == Call::Execute ? "Execute" : call == Call::Undo ? "Undo" : "Redo";
    trace(verb + " MacroCommand '" + logDescriptionOf(part) + "'...");
    run(part, call);
    trace(verb + " MacroCommand '" + logDescriptionOf(part) + "' finished.");
    note(progressOf(part) + ".setComplete");
}

void rollBack(const Command& macro, std::vector<CommandPtr> done, Call call)
{
    if (!macro.forwardUndoOrder)
    {
        std::ranges::reverse(done);
    }
    for (const CommandPtr& part : done)
    {
        runPart(*part, call == Call::Undo ? Call::Redo : Call::Undo);
    }
}

void runMacro(const Command& macro, Call call)
{
    std::vector<CommandPtr> parts = macro.parts;
    if (call == Call::Undo)
    {
        std::ranges::reverse(parts);
    }
    layOut(macro, parts);
    if (call == Call::Undo && macro.forwardUndoOrder)
    {
        parts = macro.parts;
    }
    for (auto part = parts.begin(); part != parts.end(); ++part)
    {
        try
        {
            runPart(**part, call);
        }
        catch (const std::exception& exception)
        {
            note("error: " + std::string(call == Call::Undo ? "Undo of " : "") +
                 "MacroCommand: Subcommand '" + logDescriptionOf(**part) +
                 "' failed with exception: " + exception.what());
            rollBack(macro, {parts.begin(), part}, call);
            throw;
        }
    }
    note("progress.setComplete");
}

} // namespace

void trace(const std::string& text)
{
    note("trace: " + text);
}

std::string progressOf(const Command& command)
{
    return isMacro(command) ? "progress" : command.description + ".progress";
}

std::string descriptionOf(const Command& command)
{
    std::string description = command.description;
    for (auto part = command.parts.begin(); description.empty() && part != command.parts.end(); ++part)
    {
        description = descriptionOf(**part);
    }
    return description;
}

void run(const Command& command, Call call)
{
    if (isMacro(command))
    {
        runMacro(command, call);
    }
    else if (command.thread != nullptr && call != Call::Undo)
    {
        command.thread->prepareRun();
        command.thread->run();
        command.thread->finishRun();
    }
    else
    {
        command.script->run(call);
    }
}

bool isRedoCapable(const Command& command)
{
    return isMacro(command) ? std::ranges::all_of(command.parts,
                                                  [](const CommandPtr& part) { return isRedoCapable(*part); })
                            : command.script->isRedoCapable();
}

} // namespace Valdane::Model
