#pragma once

#include "Service/CommandPattern/CommandBase.h"

#include <functional>

namespace Valdane
{

/// Does what the test has put in; without onRedo it redoes as every command does.
class ScriptedCommand : public CommandBase
{
public:
    using CommandBase::CommandBase;
    ScriptedCommand(const ScriptedCommand&) = delete;
    ScriptedCommand& operator=(const ScriptedCommand&) = delete;

    ~ScriptedCommand() override
    {
        run(onDestroy);
    }

    void execute() override
    {
        run(onExecute);
    }

    void undo() override
    {
        run(onUndo);
    }

    void redo() override
    {
        onRedo ? onRedo() : CommandBase::redo();
    }

    bool isRedoCapable() override
    {
        return redoCapable;
    }

    std::function<void()> onExecute;
    std::function<void()> onUndo;
    std::function<void()> onRedo;
    std::function<void()> onDestroy;
    bool redoCapable = true;

private:
    static void run(const std::function<void()>& action)
    {
        if (action)
        {
            action();
        }
    }
};

} // namespace Valdane
