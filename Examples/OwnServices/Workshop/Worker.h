#pragma once

#include "Workshop/JobQueue.h"

#include <thread>

namespace Workshop
{

/// A thread that does one job after another.
///
/// Thread: any for post(); one to make and destroy it.
class Worker
{
public:
    /// @throws std::system_error if no thread can be started.
    Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Waits until all jobs are done.
    ~Worker();

    /// Has @p job done after all others. @throws std::bad_alloc
    void post(JobQueue::Job job);

private:
    void work();

    JobQueue jobs;
    bool isOver = false;
    std::thread thread;
};

} // namespace Workshop
