#include "Platform/Multitasking/Thread.h"

namespace Valdane
{

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
    abortRun();
}

void Thread::runAllSteps()
{
    prepareRun();
    run();
    finishRun();
}

} // namespace Valdane
