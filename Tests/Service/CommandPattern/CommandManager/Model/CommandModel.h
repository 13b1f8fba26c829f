#pragma once

#include "Platform/Multitasking/Thread.h"
#include "World.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane::Model
{

class ModelThread;

/// A command of the model: a script, a script that is a thread, or a macro of others.
struct Command
{
    /// Empty only in a macro that has none of its own.
    std::string description;
    std::shared_ptr<Script> script;
    std::shared_ptr<ModelThread> thread;
    std::vector<std::shared_ptr<Command>> parts;
    bool forwardUndoOrder = false;
};

using CommandPtr = std::shared_ptr<Command>;

/// The own description or, where that is empty, the first one that is not among the parts'.
std::string descriptionOf(const Command& command);

/// The label of its progress.
std::string progressOf(const Command& command);

/// Executes, undoes or redoes it.
void run(const Command& command, Call call);

bool isRedoCapable(const Command& command);

void trace(const std::string& text);

/// The thread of a command, told once of its end.
class ModelThread : public Thread
{
public:
    ModelThread(const std::string& name, std::shared_ptr<Script> threadScript)
        : Thread(name), script(std::move(threadScript))
    {
    }

    void run() override
    {
        script->run(Call::Run);
    }

    void finishRun() override
    {
        script->run(Call::FinishRun);
    }

    void sendFinishSignal(bool ok) override
    {
        Thread::sendFinishSignal(ok);
        if (!std::exchange(isTold, true))
        {
            script->noteEnd(ok);
        }
    }

    void prepareRun() override
    {
        script->run(Call::PrepareRun);
    }

    void abortRun() override
    {
        script->run(Call::AbortRun);
    }

private:
    std::shared_ptr<Script> script;
    bool isTold = false;
};

} // namespace Valdane::Model
