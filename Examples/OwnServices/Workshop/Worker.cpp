#include "Workshop/Worker.h"

#include <utility>

namespace Workshop
{

Worker::Worker() : thread([this] { work(); }) {}

Worker::~Worker()
{
    // Set by the thread itself, so that nothing needs protection.
    jobs.post([this] { isOver = true; });
    thread.join();
}

void Worker::post(JobQueue::Job job)
{
    jobs.post(std::move(job));
}

void Worker::work()
{
    while (!isOver)
    {
        jobs.runNext();
    }
}

} // namespace Workshop
