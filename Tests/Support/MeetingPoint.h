#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace ValdaneTests
{

/// Threads wait here until all of them have arrived; then they can meet again.
///
/// std::barrier and std::latch lose wake-ups in libstdc++ 12 on systems without futex, such as Windows.
///
/// Thread: any.
class MeetingPoint
{
public:
    explicit MeetingPoint(int threadCount) : threads(threadCount) {}

    void arriveAndWait()
    {
        std::unique_lock lock(mutex);
        const std::uint64_t mine = meeting;
        if (++arrived == threads)
        {
            arrived = 0;
            ++meeting;
            complete.notify_all();
            return;
        }
        complete.wait(lock, [this, mine] { return meeting != mine; });
    }

private:
    int threads;
    std::mutex mutex;
    std::condition_variable complete;
    int arrived = 0;
    std::uint64_t meeting = 0;
};

} // namespace ValdaneTests
