#include "Platform/Multitasking/Thread.h"

namespace Valdane
{

Thread::Thread(const std::string& threadName) : name(threadName) {}

Thread::~Thread() = default;

void Thread::sendFinishSignal(bool /*ok*/) {}

Thread::BlockingLevel Thread::blockingLevel() const
{
    return BlockingLevel::Everything;
}

const std::string& Thread::getName() const
{
    return name;
}

bool Thread::isAborted() const
{
    return aborted;
}

void Thread::prepareRun() {}

void Thread::abortRun() {}

void Thread::clearAborted()
{
    aborted = false;
}

void Thread::abort()
{
    aborted = true;
    abortRun();
}

void Thread::runAllSteps()
{
    prepareRun();
    run();
    finishRun();
}

} // namespace Valdane
