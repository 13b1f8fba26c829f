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

    /// Makes @p where, which outlives this manager, run all threads that are added from now on.
    ///
    /// @param whenEnded  called on the worker after every run; not empty, and must not throw.
    /// @pre there is no thread (not checked).
    void runOn(Workshop::Worker& where, std::function<void()> whenEnded);

    /// Starts the run of @p thread. Without a worker, runs it to its end and calls its sendFinishSignal().
    ///
    /// @throws VdException if there is a thread already, which is left alone; without a worker, what the run
    ///         throws.
    void addThread(std::shared_ptr<Thread> thread);

    /// Waits for the end of the run, if there is one. Then throws what the run threw, or calls
    /// sendFinishSignal().
    void finalizeThread();

    /// Asks the run, if there is one, to end early.
    void abortThreadExecution();

    /// The thread from addThread() until finalizeThread(); empty if there is none.
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
