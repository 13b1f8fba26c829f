// A notebook whose unsaved notes survive the death of the program.

#include "Service/Journal/Journal.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/CommandCodecs.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

using namespace Valdane;
using Json = nlohmann::json;

namespace
{

struct Notebook
{
    std::vector<std::string> notes;
};

std::string textOf(const Notebook& notebook)
{
    std::string text;
    for (const std::string& note : notebook.notes)
    {
        text += note + "\n";
    }
    return text;
}

Notebook load(const std::filesystem::path& file)
{
    Notebook notebook;
    std::ifstream in(file);
    for (std::string note; std::getline(in, note);)
    {
        notebook.notes.push_back(note);
    }
    return notebook;
}

// Any text that is another one for another state. Real programs take a checksum of the file.
std::string digestOf(const Notebook& notebook)
{
    return std::to_string(std::hash<std::string>()(textOf(notebook)));
}

class AddNote : public CommandBase
{
public:
    AddNote(Notebook& changed, std::string text)
        : CommandBase("Add " + text), notebook(changed), note(std::move(text))
    {
    }

    const std::string& getNote() const { return note; }

    void execute() override { notebook.notes.push_back(note); }

    void undo() override { notebook.notes.pop_back(); }

private:
    Notebook& notebook;
    std::string note;
};

// One run of the program.
class Program
{
public:
    explicit Program(const std::filesystem::path& folder)
        : file(folder / "notes.txt"),
          notebook(load(file)),
          journal(codecs, folder / "notes.journal")
    {
        codecs.add<AddNote>(
            "notes.add", 1, CommandCodecs::Keeps::Undo,
            [](const AddNote& add) {
                return Json{{"note", add.getNote()}};
            },
            [this](const Json& data, std::uint32_t /*version*/)
            { return std::make_shared<AddNote>(notebook, data.at("note").get<std::string>()); });

        if (const auto& remains = journal.getRemains())
        {
            std::cout << "Not saved: " << remains->unsavedSteps << " of " << remains->steps
                      << " steps\n";
            journal.recover(manager, digestOf(notebook));
        }
        else
        {
            journal.start(manager, {.document = file.string(), .digest = digestOf(notebook)});
        }
        ended = journal.connectToSigEnded([](const std::string& why) { std::cout << why << '\n'; });
    }

    void add(const std::string& note)
    {
        manager.addCommand(std::make_shared<AddNote>(notebook, note));
    }

    void save()
    {
        journal.willSave(digestOf(notebook));
        std::ofstream(file) << textOf(notebook);
        journal.didSave();
    }

    void show() const
    {
        for (const std::string& note : notebook.notes)
        {
            std::cout << "- " << note << '\n';
        }
    }

    std::filesystem::path file;
    Notebook notebook;
    CommandCodecs codecs;
    CommandManager manager;
    Journal journal;
    Signals::Connection ended;
};

} // namespace

int main()
{
    const auto folder = std::filesystem::temp_directory_path() / "notes-that-survive";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    {
        Program first(folder);
        first.add("Call Ada");
        first.save();
        first.add("Buy oil");
        first.add("Oil the pump");
        // A journal that is not closed is what a program leaves that dies.
    }
    {
        Program second(folder);
        second.show();
        second.manager.undo(2);
        std::cout << "After two undos:\n";
        second.show();
        second.manager.redo(1);
        second.save();
        second.journal.closeAndKeep();
    }
    {
        Program third(folder);
        std::cout << "The next day, after an undo:\n";
        third.manager.undo(1);
        third.show();
        third.manager.redo(2);
        std::cout << "And two redos:\n";
        third.show();
        third.save();
        third.journal.close();
    }
    std::cout << "Journals left: " << Journal::find(folder).size() << '\n';
    std::filesystem::remove_all(folder);
}
