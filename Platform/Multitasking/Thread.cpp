#include "Platform/Multitasking/Thread.h"

#include "Platform/Multitasking/RunProbe.h"

#include <optional>
#include <utility>

namespace Valdane
{

namespace
{

// Only a run that a probe watches sets it.
thread_local const Thread* watchedRun = nullptr;

class WatchedRun
{
public:
    explicit WatchedRun(const Thread* thread) noexcept : before(std::exchange(watchedRun, thread)) {}

    WatchedRun(const WatchedRun&) = delete;
    WatchedRun& operator=(const WatchedRun&) = delete;

    ~WatchedRun()
    {
        watchedRun = before;
    }

private:
    // A run may run another one, which is synchronous.
    const Thread* before;
};

} // namespace

Thread::Thread(const std::string& name) : valdaneThreadName(name) {}

Thread::~Thread() = default;

void Thread::sendFinishSignal(bool /*ok*/) {}

Thread::BlockingLevel Thread::blockingLevel() const
{
    return BlockingLevel::Everything;
}

const std::string& Thread::getName() const
{
    return valdaneThreadName;
}

bool Thread::isAborted() const
{
    RunProbe* const probe = RunProbe::installed.load(std::memory_order_relaxed);
    if (probe != nullptr && watchedRun == this) [[unlikely]]
    {
        // The probe itself may ask, and what it calls.
        const WatchedRun none(nullptr);
        probe->abortIsAsked(*this);
    }
    return valdaneAbortedState;
}

void Thread::prepareRun() {}

void Thread::abortRun() {}

void Thread::clearAborted()
{
    valdaneAbortedState = false;
}

void Thread::abort()
{
    valdaneAbortedState = true;
    if (RunProbe* const probe = RunProbe::installed.load(std::memory_order_relaxed))
    {
        probe->abortWasSet(*this);
    }
    abortRun();
}

void Thread::runAllSteps()
{
    std::optional<WatchedRun> watched;
    if (RunProbe* const probe = RunProbe::installed.load(std::memory_order_relaxed))
    {
        probe->runBegins(*this);
        watched.emplace(this);
    }
    prepareRun();
    run();
    finishRun();
}

} // namespace Valdane
