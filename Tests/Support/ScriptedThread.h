#pragma once

#include "Platform/Multitasking/Thread.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ValdaneTests
{

/// A place where one thread waits until another one opens it; stays open once opened.
class Gate
{
public:
    void open();
    void waitUntilOpen();

private:
    std::mutex mutex;
    std::condition_variable opened;
    bool isOpen = false;
};

/// Holds a run up: the run stops in hold() until the test, which waits for it with waitUntilHeld(), calls
/// release().
class HoldPoint
{
public:
    void hold();
    void waitUntilHeld();
    void release();

private:
    Gate held;
    Gate released;
};

/// What happened in which order, each line told by "caller" (the thread that made the journal) or "worker".
class Journal
{
public:
    void add(const std::string& what);
    std::vector<std::string> lines() const;

private:
    std::thread::id caller = std::this_thread::get_id();
    mutable std::mutex mutex;
    std::vector<std::string> entries;
};

/// What a ScriptedThread does in each of its operations; by default nothing.
struct Script
{
    std::function<void()> prepareRun = nullptr;
    std::function<void(const Valdane::Thread&)> run = nullptr;
    std::function<void()> finishRun = nullptr;
    std::function<void()> abortRun = nullptr;
    std::function<void(bool)> sendFinishSignal = nullptr;
    std::function<void()> destroyed = nullptr;
};

/// A thread that writes every call down and then does what its script says.
class ScriptedThread : public Valdane::Thread
{
public:
    explicit ScriptedThread(std::shared_ptr<Journal> journal, Script script = {});
    ScriptedThread(const ScriptedThread&) = delete;
    ScriptedThread& operator=(const ScriptedThread&) = delete;
    ~ScriptedThread() override;

    void run() override;
    void finishRun() override;
    void sendFinishSignal(bool ok) override;

protected:
    void prepareRun() override;
    void abortRun() override;

private:
    std::shared_ptr<Journal> journal;
    Script script;
};

} // namespace ValdaneTests
