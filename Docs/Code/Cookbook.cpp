// Short answers to "how do I ...?": one function each, and what comes out of it.

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/Editing/ActiveHistory.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/History.h"
#include "Service/Editing/MemoryBudget.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/UndoAction.h"
#include "Service/Editing/UnsavedModule.h"

#include <spdlog/spdlog.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

using namespace Valdane;

namespace
{

// Appends letters to a text, but no question mark.
class TypeCmd : public CommandBase, public MergeableCommand
{
public:
    TypeCmd(std::string& changedText, const std::string& typed)
        : CommandBase("Type '" + typed + "'"), text(changedText), letters(typed)
    {
    }

    void execute() override
    {
        if (letters == "?")
        {
            throw std::runtime_error("no questions");
        }
        text += letters;
    }

    void undo() override { text.resize(text.size() - letters.size()); }

    // Makes this command do what the next one did, too.
    bool mergeWith(const CommandBase& next) override
    {
        const auto* typed = dynamic_cast<const TypeCmd*>(&next);
        if (typed == nullptr || &typed->text != &text)
        {
            return false;
        }
        std::string both = letters + typed->letters;
        setDescription("Type '" + both + "'");
        letters = std::move(both);
        return true;
    }

    std::size_t size() const { return letters.size(); }

private:
    std::string& text;
    std::string letters;
};

std::shared_ptr<TypeCmd> typing(std::string& text, const std::string& letters)
{
    return std::make_shared<TypeCmd>(text, letters);
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

void showTheMenu()
{
    title("menu");
    std::string text;
    CommandManager manager;
    UndoAction undo(manager, {.pattern = "Undo %1", .plain = "Undo"});
    const auto draw = [&]
    {
        std::cout << undo.getText() << (undo.isEnabled() ? "\n" : " (disabled)\n");
    };
    const auto changed = undo.connectToSigChanged(draw);

    manager.addCommand(typing(text, "a"));
    undo.trigger(); // a click
}

// A row for each command. A click on a row calls history.moveTo(row + 1).
void printRows(const History& history)
{
    for (std::uint64_t row = 0; row < history.getRowCount(); ++row)
    {
        std::cout << (history.isCurrent(row) ? "> " : "  ") << history.getText(row)
                  << (history.isSaved(row, 0) ? " [saved]\n" : "\n");
    }
}

void showTheHistory()
{
    title("history");
    std::string text;
    CommandManager manager;
    History history(manager);
    SaveState saveState(manager);
    manager.addCommand(typing(text, "a"));
    manager.addCommand(typing(text, "b"));
    saveState.saved(0);
    manager.addCommand(typing(text, "c"));
    history.moveTo(1);
    printRows(history);
    manager.addCommand(typing(text, "x"));
    printRows(history);
}

void printQuestion(const SaveState& saveState)
{
    std::cout << (saveState.isModified(0) ? "Save these changes?\n" : "nothing to save\n");
    for (const UnsavedModule& unsaved : saveState.unsavedChanges(0))
    {
        for (const std::string& words : unsaved.words())
        {
            std::cout << "  " << words << "\n";
        }
    }
}

void onLoaded(CommandManager& manager, SaveState& saveState)
{
    manager.clear();
    saveState.saved(0);
}

void askBeforeClosing()
{
    title("closing");
    std::string text;
    CommandManager manager;
    SaveState saveState(manager);
    manager.addCommand(typing(text, "a"));
    manager.addCommand(typing(text, "b"));
    saveState.saved(0);
    printQuestion(saveState);
    manager.undo(1);
    printQuestion(saveState);
    onLoaded(manager, saveState);
    printQuestion(saveState);
}

// The actions are the application's, the rest is the document's.
class Document
{
public:
    explicit Document(ActiveHistory& active) : history(active, manager) {}

    std::string text;
    CommandManager manager;
    ActiveHistory::Document history;
};

void switchDocuments()
{
    title("documents");
    ActiveHistory active;
    UndoAction undo(active);
    Document letter(active);
    Document drawing(active);
    letter.manager.addCommand(typing(letter.text, "a"));

    letter.history.activate(); // its window has the focus now
    std::cout << "letter: " << undo.getText() << "\n";
    drawing.history.activate();
    std::cout << "drawing: " << undo.getText() << "\n";
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

void type(MergePolicy& policy, std::string& text, char letter)
{
    policy.add(typing(text, std::string(1, letter)), "type in title");
    if (letter == ' ')
    {
        policy.endStep();
    }
}

void typeWords()
{
    title("typing");
    std::string text;
    CommandManager manager;
    // Of its own, so that this program prints the same however slow it is.
    const auto clock = []
    {
        return std::chrono::steady_clock::time_point();
    };
    MergePolicy policy(manager, {.pause = std::chrono::milliseconds(800)}, clock);
    SaveState saveState(manager);
    for (const char letter : std::string("to do"))
    {
        type(policy, text, letter);
    }
    print(manager.collectUndoCommandDescriptions());
    saveState.saved(0);
    type(policy, text, '!');
    print(manager.collectUndoCommandDescriptions());
    manager.undo(1);
    std::cout << "'" << text << "', modified: " << saveState.isModified(0) << "\n";
}

// Executes a command for each letter, one after another: all of them, or none.
bool typeAll(CommandManager& manager, std::string& text, const std::string& letters)
{
    CommandGroup group(manager, "Type all of '" + letters + "'");
    for (const char letter : letters)
    {
        if (!manager.addCommand(typing(text, std::string(1, letter))))
        {
            return false;
        }
    }
    group.commit();
    return true;
}

void typeGroups()
{
    title("group");
    std::string text;
    CommandManager manager;
    typeAll(manager, text, "abc");
    const bool isTyped = typeAll(manager, text, "de?f");
    std::cout << "typed: " << isTyped << ", '" << text << "'\n";
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

// What a command takes of the memory, for those that take much.
std::size_t bytesOf(const CommandBase& command)
{
    const auto* typed = dynamic_cast<const TypeCmd*>(&command);
    return typed == nullptr ? 0 : typed->size();
}

void limitTheMemory()
{
    title("memory");
    std::string text;
    CommandManager manager;
    MemoryBudget budget(manager, 10, &bytesOf);
    for (const char* letters : {"one", "two", "three", "four"})
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

} // namespace

int main()
{
    // The log would write each failure to standard output, too.
    spdlog::set_level(spdlog::level::off);
    std::cout << std::boolalpha;
    showTheMenu();
    showTheHistory();
    askBeforeClosing();
    switchDocuments();
    showTheProgressOfAnUndo();
    record();
    typeWords();
    typeGroups();
    limitTheHistory();
    limitTheMemory();
    refuseEdits();
}
