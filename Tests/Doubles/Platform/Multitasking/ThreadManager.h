#pragma once

#include "Journal.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace Valdane
{

/// Has no worker: a run that was added stands still until the test calls work(), or until it is finalized.
class ThreadManager
{
public:
    void addThread(std::shared_ptr<Thread> thread)
    {
        noteCall("threads.addThread(" + thread->label + ")");
        if (current != nullptr)
        {
            throw VdException("busy");
        }
        thread->aborted = false;
        current = std::move(thread);
        isWorkDone = false;
        if (mode != 0)
        {
            return;
        }
        work();
        const std::shared_ptr<Thread> ended = std::exchange(current, nullptr);
        if (exception)
        {
            ended->sendFinishSignal(false);
        }
        conclude(*ended);
    }

    void finalizeThread()
    {
        noteCall("threads.finalizeThread");
        if (current != nullptr)
        {
            work();
            const std::shared_ptr<Thread> ended = std::exchange(current, nullptr);
            conclude(*ended);
        }
    }

    void abortThreadExecution()
    {
        noteCall("threads.abortThreadExecution");
        if (current != nullptr)
        {
            current->aborted = true;
            current->abortRun();
        }
    }

    std::shared_ptr<Thread> getCurrentThread() const
    {
        return current;
    }

    std::int32_t getThreadingMode() const
    {
        return mode;
    }

    /// Does the work of the run under way, unless it is done.
    void work()
    {
        if (!std::exchange(isWorkDone, true))
        {
            try
            {
                current->prepareRun();
                current->run();
                current->finishRun();
            }
            catch (...)
            {
                exception = std::current_exception();
            }
        }
    }

    /// What getThreadingMode() answers.
    std::int32_t mode = 1;
    /// Called on every operation but the queries after it is noted; may throw.
    std::function<void(const std::string& call)> onCall;

private:
    void noteCall(const std::string& call) const
    {
        note(call);
        if (onCall)
        {
            onCall(call);
        }
    }

    void conclude(Thread& ended)
    {
        if (exception)
        {
            std::rethrow_exception(std::exchange(exception, nullptr));
        }
        ended.sendFinishSignal(!ended.aborted);
    }

    std::shared_ptr<Thread> current;
    std::exception_ptr exception;
    bool isWorkDone = false;
};

} // namespace Valdane
