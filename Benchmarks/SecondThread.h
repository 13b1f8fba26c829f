#pragma once

#include <semaphore>
#include <thread>

namespace Valdane::Benchmarks
{

/// Makes reference counts atomic, as they are in an application: lives as long as something is measured.
class SecondThread
{
public:
    SecondThread() : waiting([this] { isOver.acquire(); }) {}

    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;

    ~SecondThread()
    {
        isOver.release();
    }

private:
    std::binary_semaphore isOver{0};
    std::jthread waiting;
};

} // namespace Valdane::Benchmarks
