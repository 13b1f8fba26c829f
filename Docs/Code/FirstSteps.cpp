// A small editor with undo, played by a fixed list of inputs.

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/Editing/HistoryAction.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/UndoAction.h"

#include <spdlog/spdlog.h>

#include <cstddef>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Valdane::CommandBase;

class Text
{
public:
    const std::vector<std::string>& getLines() const { return lines; }

    void insert(std::size_t number, const std::string& line)
    {
        lines.insert(place(number, lines.size() + 1), line);
    }

    std::string take(std::size_t number)
    {
        const auto taken = place(number, lines.size());
        std::string line = std::move(*taken);
        lines.erase(taken);
        return line;
    }

    void swap(std::size_t number, std::string& line) { place(number, lines.size())->swap(line); }

private:
    std::vector<std::string>::iterator place(std::size_t number, std::size_t last)
    {
        if (number < 1 || number > last)
        {
            throw Valdane::VdException("there is no line " + std::to_string(number));
        }
        return std::next(lines.begin(), static_cast<std::ptrdiff_t>(number - 1));
    }

    std::vector<std::string> lines;
};

class InsertLine : public CommandBase
{
public:
    InsertLine(Text& edited, std::size_t where, std::string inserted)
        : CommandBase("Insert line " + std::to_string(where)),
          text(edited),
          number(where),
          line(std::move(inserted))
    {
    }

    void execute() override { text.insert(number, line); }
    void undo() override { text.take(number); }

private:
    Text& text;
    std::size_t number;
    std::string line;
};

class DeleteLine : public CommandBase
{
public:
    DeleteLine(Text& edited, std::size_t where)
        : CommandBase("Delete line " + std::to_string(where)), text(edited), number(where)
    {
    }

    void execute() override { line = text.take(number); }
    void undo() override { text.insert(number, line); }

private:
    Text& text;
    std::size_t number;
    std::string line;
};

class ChangeLine : public CommandBase
{
public:
    ChangeLine(Text& edited, std::size_t where, std::string value)
        : CommandBase("Change line " + std::to_string(where)),
          text(edited),
          number(where),
          other(std::move(value))
    {
    }

    void execute() override { text.swap(number, other); }
    void undo() override { text.swap(number, other); }

private:
    Text& text;
    std::size_t number;
    std::string other;
};

// The lines from the first to the last, as one step.
std::shared_ptr<Valdane::MacroCommand> deleteLines(Text& text, std::size_t first, std::size_t last)
{
    auto macro = std::make_shared<Valdane::MacroCommand>("Delete lines");
    for (std::size_t number = first; number <= last; ++number)
    {
        // Each one that is deleted lets the next move up.
        macro->addCommand(std::make_shared<DeleteLine>(text, first));
    }
    return macro;
}

class Editor
{
public:
    Editor()
    {
        queueChanged = manager.connectToSigCommandQueueChanged([this](auto) { draw(); });
        commandFailed = manager.connectToSigCommandFailed(
            [this](const char* what, const std::string& description)
            {
                std::cout << "    " << description << ": " << what << "\n";
                draw();
            });

        manager.setMaxQueueSize(4);
        manager.setUsesMaxQueueSize(true);
    }

    void obey(const std::string& input)
    {
        std::cout << "> " << input << "\n";
        std::istringstream words(input);
        std::string verb;
        words >> verb;
        if (const auto command = makeCommand(verb, words))
        {
            manager.addCommand(command);
        }
        else
        {
            press(verb);
        }
    }

private:
    // The command for the verb; empty if the verb does not edit.
    std::shared_ptr<CommandBase> makeCommand(const std::string& verb, std::istream& words)
    {
        std::size_t number = 0;
        std::size_t last = 0;
        std::string line;
        words >> number;
        if (verb == "insert" && std::getline(words >> std::ws, line))
        {
            return std::make_shared<InsertLine>(text, number, line);
        }
        if (verb == "change" && std::getline(words >> std::ws, line))
        {
            return std::make_shared<ChangeLine>(text, number, line);
        }
        if (verb == "delete" && words >> last)
        {
            return deleteLines(text, number, last);
        }
        return nullptr;
    }

    void press(const std::string& key)
    {
        if (key == "Ctrl+Z")
        {
            undo.trigger();
        }
        else if (key == "Ctrl+Y")
        {
            redo.trigger();
        }
        else if (key == "Ctrl+S")
        {
            save();
        }
        else if (key == "history")
        {
            drawHistory();
        }
    }

    void save()
    {
        // Here the lines would be written to a file.
        saveState.saved(0);
        draw();
    }

    void draw() const
    {
        for (const std::string& line : text.getLines())
        {
            std::cout << "    | " << line << "\n";
        }
        std::cout << (saveState.isModified(0) ? "  * " : "    ");
        drawEntry(undo);
        std::cout << " ";
        drawEntry(redo);
        std::cout << "\n";
    }

    // An entry of the menu; one for which there is nothing to do is greyed out.
    static void drawEntry(const Valdane::HistoryAction& action)
    {
        const std::string entry = action.getText();
        std::cout << (action.isEnabled() ? "[" + entry + "]" : "(" + entry + ")");
    }

    void drawHistory() const
    {
        for (const std::string& description : manager.collectUndoCommandDescriptions())
        {
            std::cout << "    " << description << "\n";
        }
    }

    Text text;
    Valdane::CommandManager manager;
    Valdane::UndoAction undo{manager};
    Valdane::RedoAction redo{manager};
    Valdane::SaveState saveState{manager};
    Valdane::Signals::Connection queueChanged;
    Valdane::Signals::Connection commandFailed;
};

const char* const inputs[] = {
    "insert 1 Milk",
    "insert 2 Bread",
    "change 1 Oat milk",
    "Ctrl+Z",
    "Ctrl+Y",
    "change 7 Tea",
    "delete 1 2",
    "Ctrl+Z",
    "delete 2 5",
    "Ctrl+S",
    "delete 2 5",
    "insert 3 Tea",
    "Ctrl+Z",
    "Ctrl+Z",
    "Ctrl+Y",
    "insert 1 Shopping",
    "insert 4 Tea",
    "history",
};

} // namespace

int main()
{
    // The log would write each failure to standard output, too.
    spdlog::set_level(spdlog::level::off);

    Editor editor;
    for (const char* input : inputs)
    {
        editor.obey(input);
    }
}
