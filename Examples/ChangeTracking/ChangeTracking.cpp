// What must be saved? You learn how commands tell which modules they change (the units in which you save),
// and what to ask when the user closes the window. The answer stays true through undo and redo, and when the
// history forgets commands. There are two save points; here they are the last save and the last export.

#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/UnsavedModule.h"

#include <cstdint>
#include <iostream>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Valdane;

constexpr std::uint64_t Saved = 0;
constexpr std::uint64_t Exported = 1;

// A module.
class Sheet : public Object
{
public:
    using Object::Object;

    std::list<std::string> lines;
};

// The manager asks this after each new command, and takes note.
class Marks : public ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        return marked;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        marked.clear();
    }

    void mark(const Sheet& sheet)
    {
        marked.insert(&sheet);
    }

private:
    std::set<const Object*> marked;
};

class AddLine : public CommandBase
{
public:
    AddLine(Marks& modules, Sheet& changed, std::string text)
        : CommandBase("Add " + text), marks(modules), sheet(changed), line(std::move(text))
    {
    }

    // What may fail comes first, and the mark is the last of it: a command that fails has changed and marked
    // nothing.
    void execute() override
    {
        std::list<std::string> added{line};
        marks.mark(sheet);
        sheet.lines.splice(sheet.lines.end(), added);
    }

    // No mark is needed: the manager knows to which state an undo leads.
    void undo() override
    {
        sheet.lines.pop_back();
    }

private:
    Marks& marks;
    Sheet& sheet;
    std::string line;
};

// Saves each module in a file of its own.
void save(SaveState& state, const std::vector<std::shared_ptr<Sheet>>& sheets)
{
    std::set<const Object*> differing;
    for (const UnsavedModule& unsaved : state.unsavedChanges(Saved))
    {
        differing.insert(unsaved.module);
    }
    for (const auto& sheet : sheets)
    {
        // Null stands for changes of which no module is known, so all are written.
        if (differing.contains(sheet.get()) || differing.contains(nullptr))
        {
            std::cout << "  write " << sheet->getKey() << "\n";
        }
    }
    state.saved(Saved);
}

void ask(const SaveState& state, std::uint64_t tracker, const std::string& question)
{
    for (const UnsavedModule& unsaved : state.unsavedChanges(tracker))
    {
        // A command that marks no module changes the document as a whole.
        const std::string name = unsaved.module == nullptr ? "document" : unsaved.module->getKey();
        for (const std::string& words : unsaved.words())
        {
            std::cout << "  " << question << " " << name << "? " << words << "\n";
        }
    }
}

} // namespace

int main()
{
    const auto plan = std::make_shared<Sheet>("plan");
    const auto list = std::make_shared<Sheet>("list");
    const auto marks = std::make_shared<Marks>();
    CommandManager manager;
    manager.setModuleAccessInterface(marks);
    SaveState state(manager);
    const auto add = [&](Sheet& sheet, const std::string& line)
    {
        manager.addCommand(std::make_shared<AddLine>(*marks, sheet, line));
    };
    const auto show = [&](const std::string& what)
    {
        std::cout << what << "\n";
        ask(state, Saved, "Save");
        ask(state, Exported, "Export");
    };

    show("a new drawing");
    add(*plan, "wall");
    add(*list, "door");
    show("two edits");
    save(state, {plan, list});
    show("saved");
    manager.undo(1);
    show("undone behind the save");
    state.saved(Exported);
    add(*plan, "window");
    manager.undo(1);
    show("the door is lost for good, and the file has it");
    save(state, {plan, list});
    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);
    add(*plan, "roof");
    add(*list, "lamp");
    manager.undoAll();
    show("all is undone, but the limit has dropped the roof");
}
