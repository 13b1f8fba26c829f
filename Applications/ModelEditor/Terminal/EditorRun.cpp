#include "Applications/ModelEditor/Terminal/EditorRun.h"

#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/CheckCmd.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Import.h"
#include "Applications/ModelEditor/Edits/ModelModules.h"
#include "Applications/ModelEditor/Edits/Scale.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/EditorVerb.h"
#include "Applications/ModelEditor/Terminal/HistoryLevel.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

// The verbs that work on another thread, and those about such work.

namespace ModelEditor
{

using Valdane::ThreadedMacroCommand;
using Valdane::ThreadedRun;
using Valdane::VdException;

namespace
{

constexpr std::size_t mostFailuresTold = 5;

std::string tellFailures(const ThreadedMacroCommand& macro)
{
    const auto failures = listLeftAlone(macro);
    std::string lines;
    for (std::size_t i = 0; i < std::min(failures.size(), mostFailuresTold); ++i)
    {
        lines += "    " + failures[i] + "\n";
    }
    if (failures.size() > mostFailuresTold)
    {
        lines += "    and " + std::to_string(failures.size() - mostFailuresTold) + " more\n";
    }
    return failures.empty() ? lines : "  " + plural(failures.size(), "value") + " left alone:\n" + lines;
}

std::string tellFindings(const CheckCmd& check)
{
    std::string lines;
    for (const auto& finding : check.getFindings())
    {
        lines += "  " + finding + "\n";
    }
    return lines + plural(check.getFindings().size(), "finding") + "\n";
}

} // namespace

Editor::Run::Run(std::string runVerb, std::shared_ptr<Valdane::CommandBase> runCommand, TellResult tell,
                 HistoryLevel& runLevel, const WakeUp& woken)
    : verb(std::move(runVerb)),
      command(std::move(runCommand)),
      tellResult(std::move(tell)),
      level(runLevel),
      posted(woken),
      thread(
          level.manager, [this](std::function<void()> call) { posted.post(std::move(call)); },
          ThreadedRun::Edits::Refused)
{
}

Editor::Run::~Run() = default;

bool Editor::Run::goOn()
{
    const auto threads = level.manager.getThreadManager();
    const auto before = threads->getCurrentThread();
    posted.callOne();
    concluded += before != threads->getCurrentThread() ? 1 : 0;
    return result.has_value();
}

ThreadedRun::Progress Editor::Run::getProgress() const
{
    ThreadedRun::Progress whole;
    whole.share = 1;
    return thread.getProgress().value_or(whole);
}

int Editor::Run::getPercentConcluded() const
{
    const auto macro = std::dynamic_pointer_cast<ThreadedMacroCommand>(command);
    return macro == nullptr ? 0 : static_cast<int>(concluded * 100 / macro->size());
}

void Editor::scale(const Words& arguments)
{
    const auto macro = makeScale(model, arguments);
    start("scale", arguments, macro, [macro] { return tellFailures(*macro); });
}

void Editor::check(const Words& arguments)
{
    const auto command = std::make_shared<CheckCmd>(model);
    start("check", arguments, std::shared_ptr<Valdane::ThreadedCommand>(command),
          [command] { return tellFindings(*command); });
}

void Editor::importFile(const Words& arguments)
{
    start("import", arguments, makeImport(model, arguments[0], &readFile), {});
}

template <typename Command>
void Editor::start(const std::string& verb, const Words& arguments, const std::shared_ptr<Command>& command,
                   std::function<std::string()> tellResult)
{
    auto& level = levels.back();
    level.settle();
    auto run = std::make_unique<Run>(verb, command, std::move(tellResult), level, wakeUp);
    run->finished = run->thread.connectToSigFinished(
        [this, &ended = *run, script = getLine(Verb::find(verb), arguments)](ThreadedRun::Result result,
                                                                             const std::string& why)
        {
            ended.result = result;
            ended.failure = why;
            onFinished(ended, script);
        });
    run->thread.start(command);
    underWay = std::move(run);
}

void Editor::onFinished(const Run& run, const std::string& script)
{
    if (run.level.manager.getUndoCommand() == run.command)
    {
        run.level.onAdded(script);
    }
    else if (run.result != ThreadedRun::Result::NotTakenBack)
    {
        modules->resetTo({});
    }
    wakeUp.signal();
}

bool Editor::goOn()
{
    return underWay->goOn();
}

void Editor::conclude()
{
    using Result = ThreadedRun::Result;
    const auto run = std::exchange(underWay, nullptr);
    if (run->result == Result::Failed || run->result == Result::NotTakenBack)
    {
        throw VdException(run->verb + ": " + run->failure);
    }
    if (run->result == Result::Aborted)
    {
        throw VdException(run->verb + ": aborted; nothing has changed");
    }
    out << run->command->getDescription() << '\n';
    printChanges();
    if (run->tellResult)
    {
        out << run->tellResult();
    }
}

void Editor::abort()
{
    if (underWay != nullptr)
    {
        underWay->thread.abort();
    }
}

ThreadedRun::Progress Editor::getProgress() const
{
    return underWay->getProgress();
}

int Editor::getPercentConcluded() const
{
    return underWay->getPercentConcluded();
}

void Editor::status(const Words& /*arguments*/)
{
    if (underWay == nullptr)
    {
        out << "Nothing is under way\n";
        return;
    }
    const auto progress = getProgress();
    out << underWay->command->getDescription() << ", " << static_cast<int>(progress.share * 100) << " %"
        << (progress.message.empty() ? "" : ": ") << progress.message << '\n';
}

void Editor::abortRun(const Words& /*arguments*/)
{
    if (underWay == nullptr)
    {
        throw VdException("nothing is under way");
    }
    abort();
}

} // namespace ModelEditor
