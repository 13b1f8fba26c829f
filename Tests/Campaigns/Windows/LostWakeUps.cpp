// Threads that meet at a std::barrier. In libstdc++ 12 without futex, which is what Windows has, they stop for ever now and
// then: __waiter_pool::_M_do_wait() (bits/atomic_wait.h) looks at the value, then locks, then waits without looking again,
// and _M_notify() takes no lock. A notification between the look and the wait is lost. std::latch and std::atomic::wait()
// use the same two functions. On Linux the same happens with _GLIBCXX_HAVE_LINUX_FUTEX undefined after <version>.
//
// Exit status 1: for five seconds nobody has arrived at the barrier.
#include <array>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <thread>

int main()
{
    constexpr int Threads = 4;
    constexpr int Rounds = 5'000;
    constexpr int Patience = 50;
    std::barrier<> everybody(Threads);
    std::atomic<int> arrivals = 0;
    std::array<std::thread, Threads> threads;
    for (std::thread& thread : threads)
    {
        thread = std::thread(
            [&everybody, &arrivals]
            {
                for (int round = 0; round < Rounds; ++round)
                {
                    ++arrivals;
                    everybody.arrive_and_wait();
                }
                ++arrivals;
            });
    }
    int seen = 0;
    for (int idle = 0; arrivals < Threads * (Rounds + 1); ++idle)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const int now = arrivals;
        if (now != seen)
        {
            seen = now;
            idle = 0;
        }
        if (idle == Patience)
        {
            std::_Exit(1);
        }
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}
