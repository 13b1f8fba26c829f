#include "Workshop/JobQueue.h"

#include <utility>

namespace Workshop
{

void JobQueue::post(Job job)
{
    const std::lock_guard lock(mutex);
    jobs.push_back(std::move(job));
    posted.notify_one();
}

void JobQueue::runNext()
{
    Job job;
    {
        std::unique_lock lock(mutex);
        posted.wait(lock, [this] { return !jobs.empty(); });
        job = std::move(jobs.front());
        jobs.pop_front();
    }
    job();
}

} // namespace Workshop
