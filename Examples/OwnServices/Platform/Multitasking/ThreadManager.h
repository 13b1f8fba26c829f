#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <memory>

namespace Workshop
{
class Worker;
}

namespace Valdane
{

class Thread;

/// Runs one Thread at a time on a worker of the application; without a worker at once, inside addThread().
///
/// Thread: the caller's.
class ThreadManager final
{
public:
    /// Without a worker.
    ThreadManager() = default;
    ThreadManager(const ThreadManager&) = delete;
    ThreadManager& operator=(const ThreadManager&) = delete;

    /// Aborts the run and waits for its end.
    ~ThreadManager();

    /// Has what is added from now on run by @p where, which outlives this manager.
    ///
    /// @param whenEnded  called on the worker after every run; not empty, and must not throw.
    /// @pre no run is under way (not checked).
    void runOn(Workshop::Worker& where, std::function<void()> whenEnded);

    /// Starts the run of @p thread. Without a worker, runs it and tells it that it is over; lets out what it
    /// throws.
    ///
    /// @throws VdException if a run is under way, which goes on then.
    void addThread(std::shared_ptr<Thread> thread);

    /// Waits for the end of the run under way, if there is one. Then lets out what it threw, or tells it that
    /// it is over.
    void finalizeThread();

    /// Asks the run under way, if there is one, to end early.
    void abortThreadExecution();

    /// The thread under way, until finalizeThread(); empty if there is none.
    std::shared_ptr<Thread> getCurrentThread() const;

    /// 0 without a worker, 1 with one.
    std::int32_t getThreadingMode() const;

    /// Whether a run has ended and finalizeThread() need not wait.
    bool isRunEnded() const;

private:
    void concludeRunHere();

    Workshop::Worker* worker = nullptr;
    std::function<void()> runEnded;
    std::shared_ptr<Thread> current;
    std::future<void> outcome;
};

} // namespace Valdane
