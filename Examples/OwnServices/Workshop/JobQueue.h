#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace Workshop
{

/// Jobs that wait for the thread that does them: the main thread has one as its event loop, every worker has
/// one.
///
/// Thread: any for post(); one for runNext().
class JobQueue
{
public:
    /// A job must not throw.
    using Job = std::function<void()>;

    /// Puts @p job behind all others. @throws std::bad_alloc
    void post(Job job);

    /// Waits for the next job and does it.
    void runNext();

private:
    std::mutex mutex;
    std::condition_variable posted;
    std::deque<Job> jobs;
};

} // namespace Workshop
