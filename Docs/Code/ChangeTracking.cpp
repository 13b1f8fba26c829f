// Which modules are modified after each step of a session, for two save points.

#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <spdlog/spdlog.h>

#include <cstdint>
#include <iomanip>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

namespace
{

using namespace Valdane;

// The application's own marks: what was changed since the marks were reset last.
class Marks : public ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override { return marked; }
    void markAllModulesInBusinessAsUnmodified() override { marked.clear(); }

    std::set<const Object*> getAllModulesAsModified() override
    {
        return {pumps.get(), pipes.get()};
    }

    void mark(const Object& module) { marked.insert(&module); }

    std::set<const Object*> marked;
    std::shared_ptr<Object> pumps = std::make_shared<Object>("pumps");
    std::shared_ptr<Object> pipes = std::make_shared<Object>("pipes");
};

// Changes something in a module.
class Edit : public CommandBase
{
public:
    Edit(Marks& modules, const Object& changed) : marks(modules), module(changed) {}

    void execute() override
    {
        // Change the module here; what throws does so before the mark is set.
        marks.mark(module);
    }

    void undo() override
    {
        // Change it back here, without a mark: the manager knows what that leads to.
    }

private:
    Marks& marks;
    const Object& module;
};

// Changes something that can be undone, but not redone.
class EditOnce : public Edit
{
public:
    using Edit::Edit;

    bool isRedoCapable() override { return false; }
};

// Does not work.
class Failing : public CommandBase
{
public:
    void execute() override { throw std::runtime_error("no"); }
    void undo() override {}
};

constexpr std::uint64_t Saved = 0;
constexpr std::uint64_t Exported = 1;

// One example: a line for each step.
class Session
{
public:
    explicit Session(const std::string& title)
    {
        manager.setModuleAccessInterface(marks);
        std::cout << "== " << title << "\n";
        line("", "to save", "to export");
    }

    template <class Command = Edit>
    std::shared_ptr<Command> edit(const std::shared_ptr<Object>& module) const
    {
        return std::make_shared<Command>(*marks, *module);
    }

    // All commands of the application are added here.
    void add(const std::shared_ptr<CommandBase>& command)
    {
        const auto before = marks->marked;
        if (!manager.addCommand(command))
        {
            marks->marked = before;
        }
    }

    void limitTo(std::uint32_t size)
    {
        manager.setMaxQueueSize(size);
        manager.setUsesMaxQueueSize(true);
    }

    void after(const std::string& step) const { line(step, modified(Saved), modified(Exported)); }

    const std::shared_ptr<Marks> marks = std::make_shared<Marks>();
    CommandManager manager;

private:
    static void line(const std::string& step, const std::string& saved, const std::string& exported)
    {
        std::cout << std::left << std::setw(31) << step << std::setw(16) << saved << exported
                  << "\n";
    }

    std::string modified(std::uint64_t tracker) const
    {
        const auto modules = manager.getModifiedModules(tracker);
        std::string names;
        for (const auto& module : {marks->pumps, marks->pipes})
        {
            if (modules.contains(module.get()))
            {
                names += (names.empty() ? "" : ", ") + module->getKey();
            }
        }
        return names.empty() ? "-" : names;
    }
};

void twoSavePoints()
{
    Session session("two save points");
    auto& [marks, manager] = session;
    manager.addCommand(session.edit(marks->pumps));
    session.after("edit pumps");
    manager.adjustOnSave(Saved);
    session.after("save");
    manager.addCommand(session.edit(marks->pipes));
    session.after("edit pipes");
    manager.adjustOnSave(Exported);
    session.after("export");
    manager.undo(1);
    session.after("undo");
    manager.undo(1);
    session.after("undo");
    manager.redo(2);
    session.after("redo, redo");
}

void aSavePointOutOfReach()
{
    Session session("a save point that no undo or redo leads to any more");
    auto& [marks, manager] = session;
    manager.addCommand(session.edit(marks->pumps));
    manager.adjustOnSave(Saved);
    session.after("edit pumps, save");
    manager.undo(1);
    session.after("undo");
    manager.addCommand(session.edit(marks->pipes));
    session.after("edit pipes");
    manager.undo(1);
    session.after("undo");
}

void severalCommandsAsOne()
{
    Session session("a macro, and commands that are merged");
    auto& [marks, manager] = session;
    const auto macro = std::make_shared<MacroCommand>("Edit all");
    macro->addCommand(session.edit(marks->pumps));
    macro->addCommand(session.edit(marks->pipes));
    manager.addCommand(macro);
    manager.adjustOnSave(Saved);
    session.after("macro, save");
    manager.undo(1);
    session.after("undo");
    manager.redo(1);
    session.after("redo");
    manager.addCommandToMergeWithNextCommand(session.edit(marks->pumps), false);
    session.after("edit pumps, waits");
    manager.addCommand(session.edit(marks->pipes));
    session.after("edit pipes, merged");
    manager.undo(1);
    session.after("undo");
}

void aFailure()
{
    Session session("what fails or is abandoned in a group");
    auto& [marks, manager] = session;
    manager.beginGroup("Edit all");
    session.add(session.edit(marks->pipes));
    session.after("edit pipes");
    const auto macro = std::make_shared<MacroCommand>("Edit pumps and fail");
    macro->addCommand(session.edit(marks->pumps));
    macro->addCommand(std::make_shared<Failing>());
    session.add(macro);
    session.after("a macro that fails");
    const auto before = marks->marked;
    manager.beginGroup("Edit pumps");
    session.add(session.edit(marks->pumps));
    manager.abandonGroup();
    session.after("a group, abandoned");
    marks->marked = before;
    session.after("put back the marks");
    manager.endGroup();
    session.after("end of the outer group");
}

void theLimit()
{
    Session session("a limit of one command");
    auto& [marks, manager] = session;
    session.limitTo(1);
    manager.addCommand(session.edit(marks->pumps));
    session.after("edit pumps");
    manager.addCommand(session.edit(marks->pipes));
    session.after("edit pipes, drops the first");
    manager.undo(1);
    session.after("undo");
    manager.adjustOnSave(Saved);
    session.after("save");
    manager.redo(1);
    session.after("redo");
    manager.setMaxQueueSize(0);
    session.after("limit 0 drops the last");
}

void clearing()
{
    Session session("clearing forgets the commands only");
    auto& [marks, manager] = session;
    manager.addCommand(session.edit(marks->pumps));
    manager.adjustOnSave(Saved);
    manager.addCommand(session.edit(marks->pipes));
    session.after("edit pumps, save, edit pipes");
    manager.clear();
    session.after("clear");
    session.limitTo(0);
    session.after("limit 0 after that");
}

void loadedToBeSaved()
{
    Session session("loaded in a state that must be saved");
    auto& [marks, manager] = session;
    manager.markAllModulesBeforeFirstCommandAsModified();
    session.after("mark all");
    manager.addCommand(session.edit(marks->pumps));
    manager.undo(1);
    session.after("edit pumps, undo");
    manager.adjustOnSave(Saved);
    session.after("save");
}

void changedByNoCommand()
{
    Session session("a change that no command has made");
    auto& [marks, manager] = session;
    manager.adjustOnSave(Saved);
    marks->mark(*marks->pipes);
    session.after("change pipes");
    manager.adjustOnSave(Saved);
    session.after("save");
    marks->markAllModulesInBusinessAsUnmodified();
    session.after("reset the marks");
    marks->mark(*marks->pipes);
    manager.addCommand(session.edit(marks->pumps));
    session.after("change pipes, edit pumps");
    manager.undo(1);
    session.after("undo");
}

void twoCommandsReplacedByOne()
{
    Session session("two commands are replaced by one that does the same");
    auto& [marks, manager] = session;
    manager.addCommand(session.edit(marks->pumps));
    manager.addCommand(session.edit(marks->pumps));
    session.after("edit pumps twice");
    manager.takeLastExecutedCommand();
    manager.takeLastExecutedCommand();
    session.after("take both");
    marks->mark(*marks->pumps);
    manager.addExecutedCommand(session.edit(marks->pumps));
    session.after("mark, add one for both");
    manager.undo(1);
    session.after("undo");
}

void theOnlyCommandCannotBeRedone()
{
    Session session("the only command is undone and cannot be redone");
    auto& [marks, manager] = session;
    manager.addCommand(session.edit<EditOnce>(marks->pumps));
    manager.adjustOnSave(Saved);
    session.after("edit pumps, save");
    manager.undo(1);
    session.after("undo: pumps differ");
    marks->mark(*marks->pumps);
    manager.clear();
    marks->markAllModulesInBusinessAsUnmodified();
    session.after("mark, clear, reset the marks");
}

void oneOfTwoCommandsCannotBeRedone()
{
    Session session("the same with an older command below it");
    auto& [marks, manager] = session;
    manager.addCommand(session.edit(marks->pipes));
    manager.addCommand(session.edit<EditOnce>(marks->pumps));
    manager.adjustOnSave(Saved);
    session.after("edit pipes, edit pumps, save");
    manager.undo(1);
    session.after("undo");
}

void theLimitAndTheOnlyCommandIsTaken()
{
    Session session("a limit of one command, which is taken");
    auto& [marks, manager] = session;
    session.limitTo(1);
    manager.addCommand(session.edit(marks->pumps));
    manager.addCommand(session.edit(marks->pipes));
    session.after("edit pumps, edit pipes");
    manager.takeLastExecutedCommand();
    session.after("take: both differ");
}

void theLimitAndTheOnlyCommandIsUndone()
{
    Session session("a limit of one command, which is undone and cannot be redone");
    auto& [marks, manager] = session;
    session.limitTo(1);
    manager.addCommand(session.edit(marks->pumps));
    manager.addCommand(session.edit<EditOnce>(marks->pipes));
    session.after("edit pumps, edit pipes");
    manager.undo(1);
    session.after("undo: pumps differ");
}

void theSavedCommandIsTaken()
{
    Session session("loaded to be saved, and the only command is taken after the save");
    auto& [marks, manager] = session;
    manager.markAllModulesBeforeFirstCommandAsModified();
    manager.addCommand(session.edit(marks->pumps));
    manager.adjustOnSave(Saved);
    session.after("edit pumps, save");
    manager.takeLastExecutedCommand();
    session.after("take: nothing differs");
}

void aLimitOfNone()
{
    Session session("a limit of no command");
    auto& [marks, manager] = session;
    session.limitTo(0);
    manager.addCommand(session.edit(marks->pumps));
    session.after("edit pumps: pumps differ");
}

} // namespace

int main()
{
    // The log would write each failure to standard output, too.
    spdlog::set_level(spdlog::level::off);
    twoSavePoints();
    aSavePointOutOfReach();
    severalCommandsAsOne();
    aFailure();
    theLimit();
    clearing();
    loadedToBeSaved();
    changedByNoCommand();
    twoCommandsReplacedByOne();
    theOnlyCommandCannotBeRedone();
    oneOfTwoCommandsCannotBeRedone();
    theLimitAndTheOnlyCommandIsTaken();
    theLimitAndTheOnlyCommandIsUndone();
    theSavedCommandIsTaken();
    aLimitOfNone();
}
