// Commands of another framework, first as they are, then rewritten; and states that are copied.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/SaveState.h"

#include <spdlog/spdlog.h>

#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using Valdane::CommandBase;
using Valdane::CommandGroup;
using Valdane::CommandManager;
using Valdane::MergeableCommand;
using Valdane::SaveState;

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
        const auto* other = static_cast<const SetTitle*>(next);
        if (&other->title != &title)
        {
            return false;
        }
        newValue = other->newValue;
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

// A command of before, run by the manager of now.
class AdaptedCmd : public CommandBase, public MergeableCommand
{
public:
    explicit AdaptedCmd(std::unique_ptr<Before::UndoCommand> old)
        : CommandBase(old->text), command(std::move(old))
    {
    }

    void execute() override { command->redo(); }
    void undo() override { command->undo(); }

    bool mergeWith(const CommandBase& next) override
    {
        const auto* other = dynamic_cast<const AdaptedCmd*>(&next);
        return other != nullptr && command->id() != -1 && command->id() == other->command->id() &&
               command->mergeWith(other->command.get());
    }

private:
    std::unique_ptr<Before::UndoCommand> command;
};

void push(CommandManager& manager, std::unique_ptr<Before::UndoCommand> command)
{
    manager.addOrMergeCommand(std::make_shared<AdaptedCmd>(std::move(command)));
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
    push(manager, std::make_unique<Before::SetTitle>(title, "P"));
    push(manager, std::make_unique<Before::SetTitle>(title, "Plan"));
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
    SaveState saveState(manager);
    const auto show = [&](const std::string& done)
    {
        std::cout << done << ": " << title << ", steps: " << manager.getQueueSize()
                  << ", clean: " << !saveState.isModified(0) << "\n";
    };
    push(manager, std::make_unique<Before::SetTitle>(title, "P"));
    saveState.saved(0);
    show("saved");
    push(manager, std::make_unique<Before::SetTitle>(title, "Plan"));
    show("pushed");
    manager.undo(1);
    show("undone");
}

void pushAMacro()
{
    std::cout << "== a macro\n";
    std::string title = "Untitled";
    std::string subtitle = "None";
    CommandManager manager;
    {
        CommandGroup macro(manager, "Set titles"); // was beginMacro()
        push(manager, std::make_unique<Before::SetTitle>(title, "Plan"));
        push(manager, std::make_unique<Before::SetTitle>(subtitle, "Ground floor"));
        macro.commit(); // was endMacro()
    }
    std::cout << title << ", " << subtitle << ", steps: " << manager.getQueueSize() << "\n";
    manager.undo(1);
    std::cout << title << ", " << subtitle << "\n";
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
    pushAMacro();
    addRewrittenCommand();
    copyStates();
}
