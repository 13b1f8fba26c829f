// Short answers to "how do I ...?": one function each, and what comes out of it.

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <array>
#include <cstdint>
#include <functional>
#include <iostream>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

using Valdane::CommandBase;
using Valdane::CommandCollector;
using Valdane::CommandManager;
using Valdane::LegacyProgress;
using Valdane::MacroCommand;
using Valdane::Object;
using Valdane::Thread;
using Valdane::ThreadedMacroCommand;

namespace
{

// A document of one module, with its mark.
class Document : public Valdane::ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        return isMarked ? std::set<const Object*>{&module} : std::set<const Object*>{};
    }

    void markAllModulesInBusinessAsUnmodified() override { isMarked = false; }

    bool isMarked = false;

private:
    Object module{"document"};
};

// Appends letters to a text, but no question mark.
class TypeCmd : public CommandBase
{
public:
    TypeCmd(std::string& changedText, const std::string& typed, Document* changedDocument)
        : CommandBase("Type '" + typed + "'"),
          text(changedText),
          letters(typed),
          document(changedDocument)
    {
    }

    void execute() override
    {
        if (letters == "?")
        {
            throw std::runtime_error("no questions");
        }
        text += letters;
        if (document != nullptr)
        {
            document->isMarked = true;
        }
    }

    void undo() override { text.resize(text.size() - letters.size()); }

    // Makes this command do what the next one did, too. False after the end of a word, and if the
    // next one changes something else.
    bool takeUp(const TypeCmd& next)
    {
        if (letters.back() == ' ' || &next.text != &text || next.document != document)
        {
            return false;
        }
        letters += next.letters;
        setDescription("Type '" + letters + "'");
        return true;
    }

private:
    std::string& text;
    std::string letters;
    Document* document;
};

std::shared_ptr<TypeCmd> typing(std::string& text, const std::string& letters,
                                Document* document = nullptr)
{
    return std::make_shared<TypeCmd>(text, letters, document);
}

void title(const std::string& text)
{
    std::cout << "== " << text << "\n";
}

void print(const std::list<std::string>& lines)
{
    for (const std::string& line : lines)
    {
        std::cout << line << "\n";
    }
}

std::string menuText(const std::string& verb, const std::shared_ptr<const CommandBase>& command)
{
    return command == nullptr ? verb : verb + " " + command->getDescription();
}

void showTheMenu()
{
    title("menu");
    std::string text;
    CommandManager manager;
    const auto refresh = [&]
    {
        std::cout << "[" << menuText("Undo", manager.getUndoCommand()) << "] ["
                  << menuText("Redo", manager.getRedoCommand()) << "]\n";
    };
    const auto connection = manager.connectToSigCommandQueueChanged([&](auto) { refresh(); });
    manager.addCommand(typing(text, "a"));
    manager.undo(1);
}

// Follows the state that was saved last.
class SaveMark
{
public:
    explicit SaveMark(CommandManager& manager)
        : changed(manager.connectToSigCommandQueueChanged(
              [this](CommandManager::QueueChangeReason reason) { follow(reason); }))
    {
    }

    void onSaved() { ahead = 0; }

    // The number of steps that lead there: to be redone or, if negative, to be undone. No steps do
    // if this is empty or leads past the ends of the history.
    std::optional<std::int64_t> getAhead() const { return ahead; }

private:
    void follow(CommandManager::QueueChangeReason reason)
    {
        if (!ahead || (reason == CommandManager::CommandAdded && *ahead > 0))
        {
            ahead.reset();
        }
        else if (reason == CommandManager::CommandUndone)
        {
            ++*ahead;
        }
        else if (reason != CommandManager::QueueCleared)
        {
            --*ahead;
        }
    }

    std::optional<std::int64_t> ahead;
    Valdane::Signals::Connection changed;
};

// A line for each state, from before the oldest step to after the newest.
std::list<std::string> historyRows(const CommandManager& manager, const SaveMark& mark)
{
    std::list<std::string> rows = manager.collectUndoCommandDescriptions();
    rows.push_back("Opened");
    rows.reverse();
    const auto current = static_cast<std::int64_t>(rows.size()) - 1;
    rows.splice(rows.end(), manager.collectRedoCommandDescriptions());
    std::int64_t number = 0;
    for (std::string& row : rows)
    {
        row.insert(0, number == current ? "> " : "  ");
        row += mark.getAhead() == number - current ? " [saved]" : "";
        ++number;
    }
    return rows;
}

void goToRow(CommandManager& manager, std::uint64_t row)
{
    const std::uint64_t current = manager.collectUndoCommandDescriptions().size();
    row < current ? manager.undo(current - row) : manager.redo(row - current);
    manager.emitSigUndoRedoProcessCompleted();
}

void showTheHistory()
{
    title("history");
    std::string text;
    CommandManager manager;
    SaveMark mark(manager);
    manager.addCommand(typing(text, "a"));
    manager.addCommand(typing(text, "b"));
    mark.onSaved();
    manager.addCommand(typing(text, "c"));
    goToRow(manager, 1);
    print(historyRows(manager, mark));
    manager.addCommand(typing(text, "x"));
    print(historyRows(manager, mark));
    mark.onSaved();
    const auto all = manager.takeExecutedCommands();
    all->setDescription("Type all");
    manager.addExecutedCommand(all);
    mark.onSaved();
    print(historyRows(manager, mark));
    manager.clear();
    print(historyRows(manager, mark));
    manager.addCommand(typing(text, "y"));
    manager.clear();
    print(historyRows(manager, mark));
}

bool mustAskBeforeClosing(const CommandManager& manager)
{
    return !manager.getModifiedModules(0).empty();
}

void onSaved(CommandManager& manager, Document& document)
{
    document.markAllModulesInBusinessAsUnmodified();
    manager.adjustOnSave(0);
}

void onLoaded(CommandManager& manager, Document& document)
{
    manager.clear();
    onSaved(manager, document);
}

void askBeforeClosing()
{
    title("closing");
    std::string text;
    CommandManager manager;
    const auto document = std::make_shared<Document>();
    manager.setModuleAccessInterface(document);
    const auto edit = [&](const std::string& letters)
    {
        document->isMarked = true;
        manager.addExecutedCommand(typing(text, letters));
    };
    edit("a");
    std::cout << "edited: " << mustAskBeforeClosing(manager) << "\n";
    onSaved(manager, *document);
    std::cout << "saved: " << mustAskBeforeClosing(manager) << "\n";
    edit("b");
    onLoaded(manager, *document);
    std::cout << "loaded another: " << mustAskBeforeClosing(manager)
              << ", can undo: " << manager.canUndo() << "\n";
}

void showTheProgressOfAnUndo()
{
    title("progress");
    std::string text;
    CommandManager manager;
    const auto bar = std::make_shared<LegacyProgress>();
    manager.setProgress(bar);

    const auto macro = std::make_shared<MacroCommand>("Type all");
    for (const char* letters : {"a", "b", "c", "d"})
    {
        macro->addCommand(typing(text, letters));
    }
    manager.addCommand(macro);
    bar->setChangeCallback([&] { std::cout << " " << bar->fraction(); });
    std::cout << "at";
    manager.undo(1);
    bar->setChangeCallback({});
    std::cout << "\n";
}

void record()
{
    title("recording");
    std::string text;
    CommandManager manager;
    CommandCollector collector(manager);
    collector.connect(true);
    collector.getCommandManager()->addCommand(typing(text, "a"));
    collector.getCommandManager()->addCommand(typing(text, "b"));
    const auto recorded = collector.getExecutedCommands();
    collector.connect(false);

    recorded->setDescription("Play recording");
    manager.addExecutedCommand(recorded);
    print(manager.collectUndoCommandDescriptions());
    manager.undo(1);
    std::cout << "'" << text << "'\n";
}

// What differs from each of the two save points.
std::array<std::set<const Object*>, 2> modifiedModules(const CommandManager& manager)
{
    return {manager.getModifiedModules(0), manager.getModifiedModules(1)};
}

// Executes the next letters, and makes one step of them and the letters before.
bool type(CommandManager& manager, const std::shared_ptr<TypeCmd>& next)
{
    const auto top = std::const_pointer_cast<CommandBase>(manager.getUndoCommand());
    const auto last = std::dynamic_pointer_cast<TypeCmd>(top);
    const auto modifiedBefore = modifiedModules(manager);
    if (!manager.addCommand(next))
    {
        return false;
    }
    // At a save point the sets differ: the step would begin before the save and end after it.
    const bool mayJoin =
        manager.getUndoCommand() == next && modifiedModules(manager) == modifiedBefore;
    if (last != nullptr && mayJoin && last->takeUp(*next))
    {
        manager.takeLastExecutedCommand();
    }
    return true;
}

void typeWords()
{
    title("typing");
    std::string text;
    CommandManager manager;
    for (const char letter : std::string("to do"))
    {
        type(manager, typing(text, std::string(1, letter)));
    }
    print(manager.collectUndoCommandDescriptions());
    manager.undo(1);
    std::cout << "'" << text << "'\n";
}

void saveWhileTyping()
{
    title("typing and saving");
    std::string text;
    CommandManager manager;
    const auto document = std::make_shared<Document>();
    manager.setModuleAccessInterface(document);
    const auto show = [&](const std::string& done)
    {
        std::cout << done << ": '" << text << "', modified: " << mustAskBeforeClosing(manager)
                  << "\n";
    };
    type(manager, typing(text, "t", document.get()));
    type(manager, typing(text, "o", document.get()));
    show("typed");
    onSaved(manager, *document);
    show("saved");
    type(manager, typing(text, "d", document.get()));
    type(manager, typing(text, "o", document.get()));
    show("typed");
    print(manager.collectUndoCommandDescriptions());
    manager.undo(1);
    show("undone");
    manager.undo(1);
    show("undone");
    type(manager, typing(text, "x", document.get()));
    manager.undo(1);
    show("typed, undone");
}

// Executes a command for each letter, one after another: all of them, or none.
bool typeAll(CommandManager& manager, std::string& text, const std::string& letters)
{
    const auto group = std::make_shared<MacroCommand>("Type all of '" + letters + "'");
    try
    {
        for (const char letter : letters)
        {
            group->executeAndAdd(typing(text, std::string(1, letter)));
        }
    }
    catch (const std::exception& exception)
    {
        std::cout << "nothing typed: " << exception.what() << "\n";
        return false;
    }
    manager.addExecutedCommand(group);
    return true;
}

void typeGroups()
{
    title("group");
    std::string text;
    CommandManager manager;
    typeAll(manager, text, "abc");
    typeAll(manager, text, "de?f");
    std::cout << "'" << text << "'\n";
    print(manager.collectUndoCommandDescriptions());
}

void limitTheHistory()
{
    title("limit");
    std::string text;
    CommandManager manager;
    manager.setMaxQueueSize(2);
    manager.setUsesMaxQueueSize(true);
    for (const char* letters : {"a", "b", "c"})
    {
        manager.addCommand(typing(text, letters));
    }
    print(manager.collectUndoCommandDescriptions());
}

bool edit(CommandManager& manager, std::shared_ptr<CommandBase> command)
{
    return !manager.isProcessingCommand() && manager.addCommand(std::move(command));
}

// A command that, while it executes, lets the user do something else.
class AskCmd : public CommandBase
{
public:
    explicit AskCmd(std::function<void()> question) : CommandBase("Ask"), ask(std::move(question))
    {
    }

    void execute() override { ask(); }
    void undo() override {}

private:
    std::function<void()> ask;
};

void refuseEdits()
{
    title("refused");
    std::string text;
    CommandManager manager;
    const auto editMeanwhile = [&]
    {
        std::cout << "meanwhile: " << edit(manager, typing(text, "a")) << "\n";
    };
    edit(manager, std::make_shared<AskCmd>(editMeanwhile));
    std::cout << "afterwards: " << edit(manager, typing(text, "a")) << "\n";
}

bool mayEdit(const CommandManager& manager)
{
    const auto running = manager.getCurrentThreadedCommand();
    if (running == nullptr)
    {
        return !manager.isProcessingCommand();
    }
    const auto* thread = dynamic_cast<const Thread*>(running.get());
    return thread != nullptr && thread->blockingLevel() == Thread::BlockingLevel::None;
}

// Works until it is told to stop.
class WorkCmd : public Valdane::ThreadedCommand
{
public:
    explicit WorkCmd(BlockingLevel level) : ThreadedCommand("Work"), blocked(level) {}

    BlockingLevel blockingLevel() const override { return blocked; }

    void run() override
    {
        while (!isAborted())
        {
            std::this_thread::yield();
        }
    }

    void finishRun() override {}
    void undo() override {}

private:
    BlockingLevel blocked;
};

// For closing a document: no threaded command is running afterwards.
void stopThreadedCommand(CommandManager& manager)
{
    while (manager.getCurrentThreadedCommand() != nullptr)
    {
        manager.abortThreadedCommand();
        manager.finalizeThread();
    }
}

void blockWhileWorking()
{
    title("blocked");
    std::string text;
    CommandManager manager;
    for (const auto level : {Thread::BlockingLevel::Everything, Thread::BlockingLevel::None})
    {
        manager.addThreadedCommand(std::make_shared<WorkCmd>(level));
        std::cout << "running: " << mayEdit(manager) << "\n";
        stopThreadedCommand(manager);
    }
    const auto macro = std::make_shared<ThreadedMacroCommand>("Work twice");
    const auto inner = std::make_shared<ThreadedMacroCommand>("Work once");
    inner->addCommand(std::make_shared<WorkCmd>(Thread::BlockingLevel::None));
    macro->addCommand(inner);
    macro->addCommand(std::make_shared<WorkCmd>(Thread::BlockingLevel::None));
    manager.addThreadedCommand(macro);
    manager.addCommand(typing(text, "a"));
    manager.undo(1);
    std::cout << "a macro is running: " << mayEdit(manager) << "\n";
    stopThreadedCommand(manager);
    std::cout << "afterwards: " << mayEdit(manager) << ", can undo: " << manager.canUndo() << "\n";
}

// Writes each line to the application's own log, which here is a list.
class OwnSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit OwnSink(std::list<std::string>& written) : log(written) {}

private:
    void sink_it_(const spdlog::details::log_msg& line) override
    {
        const auto level = spdlog::level::to_string_view(line.level);
        log.push_back(std::string(level.begin(), level.end()) + ": " +
                      std::string(line.payload.begin(), line.payload.end()));
    }

    void flush_() override {}

    std::list<std::string>& log;
};

// Gives every logger this sink in place of those that it has.
void logInto(const spdlog::sink_ptr& sink)
{
    spdlog::apply_all([&](const auto& logger) { logger->sinks().assign(1, sink); });
}

void showTheLog()
{
    title("log");
    std::string text;
    CommandManager manager;
    // Static, because the loggers keep the sink until the end.
    static std::list<std::string> log;
    logInto(std::make_shared<OwnSink>(log));
    spdlog::set_level(spdlog::level::err); // failures only
    manager.addCommand(typing(text, "?"));
    spdlog::set_level(spdlog::level::trace); // every step, too
    manager.addCommand(typing(text, "a"));
    spdlog::set_level(spdlog::level::off); // nothing
    manager.addCommand(typing(text, "?"));
    print(log);
}

} // namespace

int main()
{
    // The log would write each failure to standard output, too.
    spdlog::set_level(spdlog::level::off);
    std::cout << std::boolalpha;
    showTheMenu();
    showTheHistory();
    askBeforeClosing();
    showTheProgressOfAnUndo();
    record();
    typeWords();
    saveWhileTyping();
    typeGroups();
    limitTheHistory();
    refuseEdits();
    blockWhileWorking();
    showTheLog();
}
