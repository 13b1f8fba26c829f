#include "Platform/Multitasking/Thread.h"

namespace Valdane
{

Thread::Thread(const std::string& name) : threadName(name) {}

Thread::~Thread() = default;

void Thread::sendFinishSignal(bool /*ok*/) {}

Thread::BlockingLevel Thread::blockingLevel() const
{
    return BlockingLevel::Everything;
}

const std::string& Thread::getName() const
{
    return threadName;
}

bool Thread::isAborted() const
{
    return abortedState;
}

void Thread::prepareRun() {}

void Thread::abortRun() {}

void Thread::clearAborted()
{
    abortedState = false;
}

void Thread::abort()
{
    abortedState = true;
    abortRun();
}

void Thread::runAllSteps()
{
    prepareRun();
    run();
    finishRun();
}

} // namespace Valdane
