#include "Platform/Multitasking/ThreadManager.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"
#include "Workshop/Worker.h"

#include <chrono>
#include <utility>

namespace Valdane
{

ThreadManager::~ThreadManager()
{
    try
    {
        abortThreadExecution();
    }
    catch (...) // NOLINT(bugprone-empty-catch): nobody is left who could be told
    {
    }
    if (current != nullptr && worker != nullptr)
    {
        outcome.wait();
    }
}

void ThreadManager::runOn(Workshop::Worker& where, std::function<void()> whenEnded)
{
    worker = &where;
    runEnded = std::move(whenEnded);
}

void ThreadManager::addThread(std::shared_ptr<Thread> thread)
{
    if (current != nullptr)
    {
        throw VdException("A thread is under way.");
    }
    thread->aborted = false;
    const auto steps = [thread = thread.get()]
    {
        thread->prepareRun();
        thread->run();
        thread->finishRun();
    };
    // It keeps what the steps throw.
    auto task = std::make_shared<std::packaged_task<void()>>(steps);
    std::future<void> result = task->get_future();
    if (worker != nullptr)
    {
        worker->post(
            [task, ended = runEnded]() mutable
            {
                (*task)();
                // What it has thrown is the other thread's from now on.
                task.reset();
                ended();
            });
    }
    current = std::move(thread);
    outcome = std::move(result);
    if (worker == nullptr)
    {
        (*task)();
        concludeRunHere();
    }
}

void ThreadManager::concludeRunHere()
{
    const std::shared_ptr<Thread> ended = std::move(current);
    try
    {
        outcome.get();
    }
    catch (...)
    {
        ended->sendFinishSignal(false);
        throw;
    }
    ended->sendFinishSignal(!ended->isAborted());
}

void ThreadManager::finalizeThread()
{
    if (current == nullptr || worker == nullptr)
    {
        return;
    }
    outcome.wait();
    // Idle before anybody is told.
    const std::shared_ptr<Thread> ended = std::move(current);
    outcome.get();
    ended->sendFinishSignal(!ended->isAborted());
}

void ThreadManager::abortThreadExecution()
{
    if (current != nullptr)
    {
        current->aborted = true;
        current->abortRun();
    }
}

std::shared_ptr<Thread> ThreadManager::getCurrentThread() const
{
    return current;
}

std::int32_t ThreadManager::getThreadingMode() const
{
    return worker != nullptr ? 1 : 0;
}

bool ThreadManager::isRunEnded() const
{
    return current != nullptr && outcome.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

} // namespace Valdane
