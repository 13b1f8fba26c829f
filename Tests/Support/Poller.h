#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

namespace ValdaneTests
{

/// While it lives, it calls @p poll from a thread of its own, as a progress display would.
class Poller
{
public:
    explicit Poller(std::function<bool()> poll)
        : poller(
              [this, poll = std::move(poll)]
              {
                  while (!done)
                  {
                      hits += poll() ? 1 : 0;
                      std::this_thread::yield();
                  }
              })
    {
    }

    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    ~Poller()
    {
        done = true;
        poller.join();
    }

private:
    std::atomic<bool> done = false;
    std::atomic<int> hits = 0;
    std::thread poller;
};

} // namespace ValdaneTests
