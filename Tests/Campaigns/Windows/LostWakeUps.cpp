// Threads that meet at a std::barrier. They do not always end where the standard library of Windows' g++ 12 has no futex:
// __waiter_pool::_M_do_wait() (bits/atomic_wait.h) looks at the value, then locks, then waits without looking again, and
// _M_notify() takes no lock. A notification between the look and the wait is lost. std::latch and std::atomic::wait() use
// the same two functions. On Linux the same happens with _GLIBCXX_HAVE_LINUX_FUTEX undefined after <version>.
#include <barrier>
#include <thread>
#include <vector>

int main()
{
    constexpr int Threads = 4;
    constexpr int Rounds = 5'000;
    std::barrier<> everybody(Threads);
    std::vector<std::thread> threads;
    for (int i = 0; i < Threads; ++i)
    {
        threads.emplace_back(
            [&everybody]
            {
                for (int round = 0; round < Rounds; ++round)
                {
                    everybody.arrive_and_wait();
                }
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
}
