#pragma once

#include "Journal.h"
#include "Service/CommandPattern/CommandBase.h"

#include <functional>
#include <string>

namespace Valdane
{

/// Notes every call as "<name>.<operation>", then does what the test has put in.
class RecordingCommand : public CommandBase
{
public:
    explicit RecordingCommand(const std::string& commandName) : CommandBase(commandName), name(commandName)
    {
        getProgressPtr()->label = name + ".progress";
    }

    void execute() override
    {
        run("execute", onExecute);
    }

    void undo() override
    {
        run("undo", onUndo);
    }

    void redo() override
    {
        run("redo", onRedo);
    }

    bool isRedoCapable() override
    {
        run("isRedoCapable", onIsRedoCapable);
        return redoCapable;
    }

    std::function<void()> onExecute;
    std::function<void()> onUndo;
    std::function<void()> onRedo;
    std::function<void()> onIsRedoCapable;
    bool redoCapable = true;

private:
    /// @param action  a copy, since it may replace itself.
    void run(const char* operation, const std::function<void()> action) const
    {
        note(name + "." + operation);
        if (action)
        {
            action();
        }
    }

    std::string name;
};

} // namespace Valdane
