#pragma once

#include "Service/CommandPattern/ThreadedCommand.h"
#include "Tests/Support/ScriptedThread.h"

#include <functional>
#include <string>

namespace Valdane
{

/// A threaded command that does what the test has put in.
class ScriptedRun : public ThreadedCommand
{
public:
    explicit ScriptedRun(const std::string& name) : ThreadedCommand(name) {}

    ScriptedRun(const ScriptedRun&) = delete;
    ScriptedRun& operator=(const ScriptedRun&) = delete;

    ~ScriptedRun() override
    {
        act(onDestroy);
    }

    void run() override
    {
        act(onRun);
    }

    void finishRun() override
    {
        act(onFinishRun);
    }

    void undo() override
    {
        act(onUndo);
    }

    std::function<void()> onRun;
    std::function<void()> onFinishRun;
    std::function<void()> onAbort;
    std::function<void()> onUndo;
    std::function<void()> onDestroy;

protected:
    void abortRun() override
    {
        act(onAbort);
    }

private:
    static void act(const std::function<void()>& action)
    {
        if (action)
        {
            action();
        }
    }
};

/// A run that lasts until the test releases it, or until it is aborted. Data that both sides touch without
/// protection are handed over by the thread manager alone: the thread sanitizer watches it.
class HeldRun : public ScriptedRun
{
public:
    explicit HeldRun(const std::string& name) : ScriptedRun(name)
    {
        onRun = [this]
        {
            held.open();
            released.waitUntilOpen();
            ++endedRuns;
        };
        onAbort = [this]
        {
            released.open();
        };
    }

    void waitUntilHeld()
    {
        held.waitUntilOpen();
    }

    void release()
    {
        released.open();
    }

    int endedRuns = 0;

private:
    ValdaneTests::Gate held;
    ValdaneTests::Gate released;
};

} // namespace Valdane
