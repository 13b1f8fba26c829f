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
/// Worker mode: addThread() starts the run and returns. The application learns of its end by the run-ended
/// callback, by polling isRunEnded() or by waitForRunEnd(), and concludes it with finalizeThread().
///
/// | operation              | idle          | running                         | ended, not finalized     |
/// |------------------------|---------------|---------------------------------|--------------------------|
/// | addThread()            | starts a run  | throws VdException              | throws VdException       |
/// | abortThreadExecution() | does nothing  | sets aborted, calls abortRun()  | the same                 |
/// | finalizeThread()       | does nothing  | waits for the end, then as ended| concludes, is then idle  |
/// | getCurrentThread()     | empty         | the thread                      | the thread               |
/// | isRunEnded()           | false         | false                           | true                     |
/// | waitForRunEnd()        | true          | waits for the end               | true                     |
/// | setThreadingMode()     | sets it       | throws VdException              | throws VdException       |
/// | setRunEndedCallback()  | sets it       | sets it for the next run        | sets it for the next run |
/// | destructor             |               | aborts, waits for the end       | aborts                   |
///
/// A run in synchronous mode sees its manager running and may abort itself; it never becomes "ended". From
/// within a run, finalizeThread() throws a VdException and waitForRunEnd() answers false at once: a run
/// cannot wait for itself. A refused operation leaves the run under way alone, its aborted state too.
///
/// Ownership: shares the Thread from addThread() until it is idle again, and lets go of it on the caller's
/// thread; the worker drops the last reference only when the manager was destroyed on the worker.
///
/// Thread: one caller's thread for all operations; isRunEnded() and getThreadingMode() from any thread.
///
/// Cost: a run in worker mode starts an operating-system thread and joins it.
class VALDANE_MULTITASKING_EXPORT ThreadManager final
{
public:
    /// Idle, in worker mode, without a callback.
    ThreadManager();

    ThreadManager(const ThreadManager&) = delete;
    ThreadManager& operator=(const ThreadManager&) = delete;

    /// Aborts the run under way and waits for its end; nothing escapes, whatever the run or its abortRun()
    /// throws.
    ///
    /// sendFinishSignal() is not called and an exception of the run is dropped. From here on no callback
    /// begins; one that has begun is waited for.
    ///
    /// Destroying the manager from within its run, or from its callback, is safe: it aborts, but cannot wait.
    /// The run then goes on to its end on its own; in synchronous mode addThread() still lets its exception
    /// out.
    ~ThreadManager();

    /// Runs @p thread: prepareRun(), run(), finishRun(), up to the first that throws.
    ///
    /// Clears the thread's aborted state first. Worker mode: starts the run and returns. An abort may come
    /// before the worker gets there; the three steps are called all the same and can ask isAborted().
    ///
    /// Synchronous mode: returns when the run is over and told so: sendFinishSignal(true), or with false if
    /// it was aborted or before an exception of the run, of any type, is let out. An exception of that
    /// sendFinishSignal(false) is dropped, the run's goes out. The manager is idle before sendFinishSignal().
    ///
    /// @param thread  not empty, and not under way in another manager (not checked).
    /// @throws VdException if @p thread is empty or a run is under way.
    /// @throws std::system_error if no worker could be started, std::bad_alloc; the manager is then idle.
    void addThread(std::shared_ptr<Thread> thread);

    /// Concludes the run: waits for its end and that of its callback, then makes the manager idle.
    ///
    /// After that rethrows what the run threw, the same object of whatever type, or else calls
    /// sendFinishSignal(!isAborted()), whose exceptions pass through.
    ///
    /// @throws VdException if called from within the run or its callback, which changes nothing.
    void finalizeThread();

    /// Sets the aborted state of the thread under way, then calls its abortRun(), whose exceptions pass
    /// through.
    ///
    /// Does not wait: finalizeThread() still has to follow, and reports false even if the run had already
    /// ended.
    void abortThreadExecution();

    /// The thread under way until finalizeThread() concludes it; empty when idle.
    std::shared_ptr<Thread> getCurrentThread() const;

    /// 0: synchronous. Any other value: on a worker thread.
    std::int32_t getThreadingMode() const;

    /// @throws VdException if a run is under way.
    void setThreadingMode(std::int32_t mode);

    /// Sets what is called, on the worker, at the end of every run that is added from now on; empty: nothing.
    ///
    /// isRunEnded() is true by then. Post to the caller's event loop and return: finalizeThread() and the
    /// destructor wait for the callback, so it must not wait for the caller's thread. What it posted should
    /// ask isRunEnded() before it finalizes, if the run may have been concluded by then and another one
    /// added.
    ///
    /// An exception out of the callback calls std::terminate. Synchronous runs do not call it.
    void setRunEndedCallback(std::function<void()> callback);

    /// True when a run in worker mode has ended and waits for finalizeThread().
    bool isRunEnded() const;

    /// Waits until no run goes on, but at most @p timeout (and never longer than a year).
    ///
    /// @return false if the time ran out first.
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
