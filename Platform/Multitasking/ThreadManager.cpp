// The manager and its worker share the Run: what is being run, how far it is, and how it ended.
//
// The run, its callback, abortRun(), sendFinishSignal() and the destructors of all of them may destroy the
// manager. So an operation takes what it needs out of the manager first, then calls one of them, and does
// not touch the manager again. The worker never touches it.
//
// Between addThread() and the end of the run the caller's thread reads the Run's thread, and the worker
// writes its exception. The start of the worker and join() order these. The phase, the runner and the
// abandoned flag are read by several threads at once, and are guarded by the mutex.

#include "Platform/Multitasking/ThreadManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

namespace Valdane
{

namespace
{

template <class Call>
std::exception_ptr exceptionOf(const Call& call) noexcept
{
    try
    {
        call();
        return nullptr;
    }
    catch (...)
    {
        return std::current_exception();
    }
}

} // namespace

// The manager's run, if there is one. It outlives a manager that its run destroys.
struct VALDANE_MULTITASKING_NO_EXPORT ThreadManager::Run
{
    enum class Phase
    {
        Idle,
        Running,
        Ended
    };

    struct Outcome
    {
        void conclude() const;

        std::shared_ptr<Thread> thread;
        std::exception_ptr exception;
        // Destroyed with the outcome, when the operation has done everything else: it may own the manager.
        std::function<void()> runEnded;
        bool abandoned = false;
    };

    void fill(std::shared_ptr<Thread> newThread, std::function<void()> newRunEnded);
    Outcome clear();

    void run();
    void end() noexcept;
    void abandon();

    bool isAbandoned() const;
    bool isRunByThisThread() const;
    bool isEnded() const;
    bool waitForEnd(std::chrono::milliseconds timeout);

    // The caller's thread writes these before the run starts and after the join; the run writes the
    // exception.
    std::shared_ptr<Thread> thread;
    std::function<void()> runEnded;
    std::exception_ptr exception;

    mutable std::mutex mutex;
    // Guarded by the mutex.
    std::condition_variable ended;
    Phase phase = Phase::Idle;
    std::thread::id runner;
    bool abandoned = false;
};

void ThreadManager::Run::Outcome::conclude() const
{
    if (exception)
    {
        std::rethrow_exception(exception);
    }
    if (!abandoned)
    {
        thread->sendFinishSignal(!thread->isAborted());
    }
}

void ThreadManager::Run::fill(std::shared_ptr<Thread> newThread, std::function<void()> newRunEnded)
{
    thread = std::move(newThread);
    runEnded = std::move(newRunEnded);
    const std::scoped_lock lock(mutex);
    phase = Phase::Running;
}

ThreadManager::Run::Outcome ThreadManager::Run::clear()
{
    const std::scoped_lock lock(mutex);
    phase = Phase::Idle;
    runner = {};
    return {.thread = std::exchange(thread, nullptr),
            .exception = std::exchange(exception, nullptr),
            .runEnded = std::exchange(runEnded, nullptr),
            .abandoned = abandoned};
}

void ThreadManager::Run::run()
{
    {
        const std::scoped_lock lock(mutex);
        runner = std::this_thread::get_id();
    }
    exception = exceptionOf([this] { thread->runAllSteps(); });
}

void ThreadManager::Run::end() noexcept
{
    bool tell = false;
    {
        const std::scoped_lock lock(mutex);
        phase = Phase::Ended;
        tell = runEnded && !abandoned;
    }
    ended.notify_all();
    if (tell)
    {
        runEnded();
    }
}

void ThreadManager::Run::abandon()
{
    {
        const std::scoped_lock lock(mutex);
        abandoned = true;
    }
    // abortRun() may finalize the thread, hence the copy. Nobody is left who could be told of an exception.
    exceptionOf([aborted = thread] { aborted->abort(); });
}

bool ThreadManager::Run::isAbandoned() const
{
    const std::scoped_lock lock(mutex);
    return abandoned;
}

bool ThreadManager::Run::isRunByThisThread() const
{
    const std::scoped_lock lock(mutex);
    return runner == std::this_thread::get_id();
}

bool ThreadManager::Run::isEnded() const
{
    const std::scoped_lock lock(mutex);
    return phase == Phase::Ended;
}

bool ThreadManager::Run::waitForEnd(std::chrono::milliseconds timeout)
{
    // Longer durations could overflow the clock's time point.
    constexpr std::chrono::milliseconds year = std::chrono::years(1);
    const auto limited = std::clamp(timeout, std::chrono::milliseconds::zero(), year);
    const auto deadline = std::chrono::steady_clock::now() + limited;
    std::unique_lock lock(mutex);
    return ended.wait_until(lock, deadline, [this] { return phase != Phase::Running; });
}

ThreadManager::ThreadManager() : current(std::make_shared<Run>()) {}

ThreadManager::~ThreadManager()
{
    if (!current->thread)
    {
        return;
    }
    current->abandon();
    if (worker.joinable() && current->isRunByThisThread())
    {
        worker.detach();
    }
    else if (worker.joinable())
    {
        worker.join();
    }
}

void ThreadManager::addThread(std::shared_ptr<Thread> thread)
{
    if (!thread)
    {
        throw VdException("An empty thread cannot be run");
    }
    if (current->isAbandoned())
    {
        throw VdException("Thread '" + thread->getName() +
                          "' cannot be run by a manager that is being destroyed");
    }
    if (current->thread)
    {
        throw VdException("Thread '" + thread->getName() + "' cannot be run while thread '" +
                          current->thread->getName() + "' is running");
    }
    thread->clearAborted();
    current->fill(std::move(thread), runEnded);
    if (threadingMode == 0)
    {
        runSynchronously();
    }
    else
    {
        startWorker();
    }
}

void ThreadManager::startWorker()
{
    // The run may destroy the manager, and needs the worker for that. So it waits for this lock before it
    // begins, and the manager is not touched after the unlock.
    const auto kept = current;
    std::unique_lock lock(kept->mutex);
    try
    {
        worker = std::thread(
            [kept]
            {
                kept->run();
                kept->end();
            });
    }
    catch (...)
    {
        lock.unlock();
        kept->clear();
        throw;
    }
}

void ThreadManager::runSynchronously()
{
    // The run or sendFinishSignal() may destroy this manager.
    const auto kept = current;
    kept->run();
    const auto outcome = kept->clear();
    if (outcome.exception && !outcome.abandoned)
    {
        // The caller gets the exception of the run, not that of sendFinishSignal().
        exceptionOf([&outcome] { outcome.thread->sendFinishSignal(false); });
    }
    outcome.conclude();
}

void ThreadManager::finalizeThread()
{
    if (!current->thread)
    {
        return;
    }
    if (current->isRunByThisThread())
    {
        throw VdException("Thread '" + current->thread->getName() +
                          "' cannot be finalized from within its own run");
    }
    worker.join();
    const auto outcome = current->clear();
    outcome.conclude();
}

void ThreadManager::abortThreadExecution()
{
    // abortRun() may finalize the thread or destroy this manager.
    if (const auto thread = current->thread)
    {
        thread->abort();
    }
}

std::shared_ptr<Thread> ThreadManager::getCurrentThread() const
{
    return current->thread;
}

std::int32_t ThreadManager::getThreadingMode() const
{
    return threadingMode;
}

void ThreadManager::setThreadingMode(std::int32_t mode)
{
    if (current->thread)
    {
        throw VdException("The threading mode cannot be changed while thread '" + current->thread->getName() +
                          "' is running");
    }
    threadingMode = mode;
}

void ThreadManager::setRunEndedCallback(std::function<void()> callback)
{
    // The old callback is destroyed with the parameter: it may own this manager.
    runEnded.swap(callback);
}

bool ThreadManager::isRunEnded() const
{
    return current->isEnded();
}

bool ThreadManager::waitForRunEnd(std::chrono::milliseconds timeout)
{
    if (current->isRunByThisThread())
    {
        return isRunEnded();
    }
    return current->waitForEnd(timeout);
}

} // namespace Valdane
