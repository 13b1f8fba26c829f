#pragma once

#include "Platform/Multitasking/MultitaskingExport.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

namespace Valdane
{

class Thread;

/// Runs one Thread at a time, on a worker thread or, in synchronous mode, inside addThread().
///
/// Worker mode: addThread() starts the run and returns. The application learns of its end from the run-ended
/// callback, from isRunEnded() or from waitForRunEnd(). Then it calls finalizeThread().
///
/// | operation              | idle          | running                         | ended, not finalized     |
/// |------------------------|---------------|---------------------------------|--------------------------|
/// | addThread()            | starts a run  | throws VdException              | throws VdException       |
/// | abortThreadExecution() | does nothing  | sets aborted, calls abortRun()  | the same                 |
/// | finalizeThread()       | does nothing  | waits, then as in "ended"       | finalizes, is then idle  |
/// | getCurrentThread()     | empty         | the thread                      | the thread               |
/// | isRunEnded()           | false         | false                           | true                     |
/// | waitForRunEnd()        | true          | waits for the end               | true                     |
/// | setThreadingMode()     | sets it       | throws VdException              | throws VdException       |
/// | setRunEndedCallback()  | sets it       | for the next run                | for the next run         |
/// | destructor             |               | aborts, waits for the end       | aborts                   |
///
/// A run in synchronous mode is "running" until it is over, and never "ended". It may abort itself. From
/// within a run, finalizeThread() throws a VdException and waitForRunEnd() returns false at once, because a
/// run cannot wait for itself. An operation that is refused changes nothing, not even the aborted state of a
/// thread.
///
/// Ownership: shares the Thread from addThread() until the manager is idle again, and releases it on the
/// caller's thread. Only if the run or its callback destroys the manager may the worker release it.
///
/// Thread: one caller's thread for all operations; isRunEnded() and getThreadingMode() from any thread.
///
/// Cost: each run in worker mode starts an operating-system thread and joins it.
class VALDANE_MULTITASKING_EXPORT ThreadManager final
{
public:
    /// Idle, in worker mode, without a callback.
    ThreadManager();

    ThreadManager(const ThreadManager&) = delete;
    ThreadManager& operator=(const ThreadManager&) = delete;

    /// Aborts the run, if there is one, and waits for its end.
    ///
    /// Nothing that the run or its abortRun() throws gets out. sendFinishSignal() is not called. The
    /// run-ended callback is called only if the run ended before the abort; the destructor then waits for it.
    ///
    /// During the destructor's abortRun(), finalizeThread() works as ever, except that it does not call
    /// sendFinishSignal(), and addThread() throws a VdException.
    ///
    /// The run, or its callback, may destroy the manager. Then the destructor aborts, but does not wait, and
    /// the run continues to its end. This is safe even before addThread() has returned; no other operation
    /// may be running on the caller's thread. In synchronous mode addThread() still throws what the run
    /// throws.
    ~ThreadManager();

    /// Runs @p thread: prepareRun(), run(), finishRun(), up to the first that throws.
    ///
    /// Clears the thread's aborted state first. Worker mode: starts the run and returns. Even if an abort
    /// comes first, all three are called, and can ask isAborted().
    ///
    /// Synchronous mode: returns when the run is over. If the run threw nothing, calls
    /// sendFinishSignal(!isAborted()), whose exceptions pass through. If it threw, calls
    /// sendFinishSignal(false), drops what that throws, and rethrows what the run threw, of whatever type.
    /// The manager is idle before sendFinishSignal().
    ///
    /// @param thread  not empty, and not running in another manager (the latter is not checked).
    /// @throws VdException if @p thread is empty, if the manager is not idle, or if it is being destroyed.
    /// @throws std::system_error if no worker can be started, std::bad_alloc; the manager is then idle.
    void addThread(std::shared_ptr<Thread> thread);

    /// Waits for the end of the run and of its callback, then makes the manager idle.
    ///
    /// Then rethrows what the run threw, the same object of whatever type. If it threw nothing, calls
    /// sendFinishSignal(!isAborted()), whose exceptions pass through.
    ///
    /// @throws VdException if called from within the run or its callback; nothing has changed then.
    void finalizeThread();

    /// Sets the thread's aborted state, then calls its abortRun(), whose exceptions pass through.
    ///
    /// Does not wait: finalizeThread() must still follow. It calls sendFinishSignal(false) even if the run
    /// had ended before the abort. A thread that has ended is also told.
    void abortThreadExecution();

    /// The thread from addThread() until finalizeThread(); empty when idle.
    std::shared_ptr<Thread> getCurrentThread() const;

    /// 0: synchronous. Any other value: on a worker thread.
    std::int32_t getThreadingMode() const;

    /// @throws VdException unless the manager is idle.
    void setThreadingMode(std::int32_t mode);

    /// Sets what the worker calls at the end of each run that is added from now on; empty: nothing.
    ///
    /// isRunEnded() is already true then. Post to the caller's event loop and return. The callback must not
    /// wait for the caller's thread, because finalizeThread() and the destructor wait for the callback. The
    /// posted code should ask isRunEnded() before it finalizes: by then the application may have finalized
    /// this run and added another one.
    ///
    /// An exception out of the callback calls std::terminate. Synchronous runs do not call it.
    void setRunEndedCallback(std::function<void()> callback);

    /// True if a run in worker mode has ended and finalizeThread() has not been called yet.
    bool isRunEnded() const;

    /// Waits for the end of the run, at most @p timeout and never longer than a year.
    ///
    /// @return false if the time ran out first, or if called from within a run that has not ended.
    bool waitForRunEnd(std::chrono::milliseconds timeout);

private:
    struct Run;

    void startWorker();
    void runSynchronously();

    std::shared_ptr<Run> current;
    std::thread worker;
    std::function<void()> runEnded;
    std::atomic<std::int32_t> threadingMode = 1;
};

} // namespace Valdane
