// Commands of another framework, first as they are, then rewritten; and states that are copied.

#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <spdlog/spdlog.h>

#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using Valdane::CommandBase;
using Valdane::CommandManager;
using Valdane::Object;

namespace Before
{

// Stands for a toolkit's base class of commands.
class UndoCommand
{
public:
    explicit UndoCommand(std::string shown) : text(std::move(shown)) {}
    UndoCommand(const UndoCommand&) = delete;
    UndoCommand& operator=(const UndoCommand&) = delete;
    virtual ~UndoCommand() = default;

    virtual void redo() = 0;
    virtual void undo() = 0;
    virtual int id() const { return -1; }
    virtual bool mergeWith(const UndoCommand* /*next*/) { return false; }

    const std::string text;
};

class SetTitle : public UndoCommand
{
public:
    SetTitle(std::string& changed, std::string value)
        : UndoCommand("Set title"), title(changed), oldValue(changed), newValue(std::move(value))
    {
    }

    void redo() override { title = newValue; }
    void undo() override { title = oldValue; }
    int id() const override { return 1; }

    bool mergeWith(const UndoCommand* next) override
    {
        newValue = static_cast<const SetTitle*>(next)->newValue;
        return true;
    }

private:
    std::string& title;
    std::string oldValue;
    std::string newValue;
};

} // namespace Before

namespace After
{

class SetTitle : public CommandBase
{
public:
    SetTitle(std::string& changed, std::string value)
        : CommandBase("Set title"), title(changed), other(std::move(value))
    {
    }

    void execute() override
    {
        if (other.empty())
        {
            throw std::invalid_argument("a title has at least one letter");
        }
        title.swap(other);
    }

    void undo() override { title.swap(other); }

private:
    std::string& title;
    std::string other;
};

} // namespace After

namespace
{

// The whole document is one module; every command marks it.
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

// A command of before, run by the manager of now.
class AdaptedCmd : public CommandBase
{
public:
    AdaptedCmd(std::unique_ptr<Before::UndoCommand> old, Document& changed)
        : CommandBase(old->text), command(std::move(old)), document(changed)
    {
    }

    void execute() override
    {
        command->redo();
        document.isMarked = true;
    }

    void undo() override { command->undo(); }

    // Whether this command does now what the next one did.
    bool mergeWith(const AdaptedCmd& next) const
    {
        return command->id() != -1 && command->id() == next.command->id() &&
               command->mergeWith(next.command.get());
    }

private:
    std::unique_ptr<Before::UndoCommand> command;
    Document& document;
};

// Both save points.
bool isModified(const CommandManager& manager)
{
    return !manager.getModifiedModules(0).empty() && !manager.getModifiedModules(1).empty();
}

// What push() did.
void push(CommandManager& manager, Document& document, std::unique_ptr<Before::UndoCommand> command)
{
    const auto last = std::dynamic_pointer_cast<const AdaptedCmd>(manager.getUndoCommand());
    const auto next = std::make_shared<AdaptedCmd>(std::move(command), document);
    // A command that was saved stays as it is.
    const bool mayMerge = last != nullptr && isModified(manager);
    if (manager.addCommand(next) && mayMerge && manager.getUndoCommand() == next &&
        last->mergeWith(*next))
    {
        manager.takeLastExecutedCommand();
    }
}

// Changes a state in whatever way, and keeps a copy of it for undo and redo.
template <typename State>
class SnapshotCmd : public CommandBase
{
public:
    SnapshotCmd(State& changed, std::string text, std::function<void(State&)> how)
        : CommandBase(std::move(text)), state(changed), change(std::move(how))
    {
    }

    void execute() override
    {
        State copy = state;
        change(copy);
        std::swap(state, copy);
        other = std::move(copy);
    }

    void undo() override { std::swap(state, other); }
    void redo() override { std::swap(state, other); }

private:
    State& state;
    std::function<void(State&)> change;
    State other;
};

void pushCommandsOfBefore()
{
    std::cout << "== commands of before\n";
    std::string title = "Untitled";
    CommandManager manager;
    const auto document = std::make_shared<Document>();
    manager.setModuleAccessInterface(document);
    push(manager, *document, std::make_unique<Before::SetTitle>(title, "P"));
    push(manager, *document, std::make_unique<Before::SetTitle>(title, "Plan"));
    std::cout << title << ", steps: " << manager.getQueueSize() << "\n";
    manager.undo(1);
    std::cout << title << "\n";
    manager.redo(1);
    std::cout << title << "\n";
}

void saveBetweenTwoPushes()
{
    std::cout << "== a save between two pushes\n";
    std::string title = "Untitled";
    CommandManager manager;
    const auto document = std::make_shared<Document>();
    manager.setModuleAccessInterface(document);
    const auto show = [&](const std::string& done)
    {
        const bool isSaved = manager.getModifiedModules(0).empty();
        std::cout << done << ": " << title << ", steps: " << manager.getQueueSize()
                  << ", clean: " << isSaved << "\n";
    };
    push(manager, *document, std::make_unique<Before::SetTitle>(title, "P"));
    manager.adjustOnSave(0);
    show("saved");
    push(manager, *document, std::make_unique<Before::SetTitle>(title, "Plan"));
    show("pushed");
    manager.undo(1);
    show("undone");
}

void addRewrittenCommand()
{
    std::cout << "== rewritten\n";
    std::string title = "Untitled";
    CommandManager manager;
    const bool done = manager.addCommand(std::make_shared<After::SetTitle>(title, "Plan"));
    std::cout << "to Plan: " << done << "\n";
    const bool emptied = manager.addCommand(std::make_shared<After::SetTitle>(title, ""));
    std::cout << "to nothing: " << emptied << "\n";
    manager.undo(1);
    std::cout << title << "\n";
    manager.redo(1);
    std::cout << title << "\n";
}

void copyStates()
{
    std::cout << "== copied states\n";
    std::vector<int> values{3, 1, 2};
    CommandManager manager;
    const auto show = [&]
    {
        std::cout << "values";
        for (const int value : values)
        {
            std::cout << " " << value;
        }
        std::cout << "\n";
    };
    using Change = SnapshotCmd<std::vector<int>>;
    manager.addCommand(std::make_shared<Change>(values, "Double",
                                                [](std::vector<int>& all)
                                                {
                                                    for (int& value : all)
                                                    {
                                                        value *= 2;
                                                    }
                                                }));
    show();
    const bool done =
        manager.addCommand(std::make_shared<Change>(values, "Empty and fail",
                                                    [](std::vector<int>& all)
                                                    {
                                                        all.clear();
                                                        throw std::runtime_error("not today");
                                                    }));
    std::cout << "failed: " << !done << "\n";
    show();
    manager.undo(1);
    show();
    manager.redo(1);
    show();
}

} // namespace

int main()
{
    // The log would write each failure to standard output, too.
    spdlog::set_level(spdlog::level::off);
    std::cout << std::boolalpha;
    pushCommandsOfBefore();
    saveBetweenTwoPushes();
    addRewrittenCommand();
    copyStates();
}
