// A run or its callback may destroy the thread manager. The worker could do so before addThread() had
// stored the handle of the worker: addThread() then wrote into a manager that was gone, and nobody detached
// the worker. Address and thread sanitizer see it within these rounds; without them memory is written that
// is free, which may show nothing.

#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <utility>

namespace Valdane
{
namespace
{

constexpr int Rounds = 200;

/// Destroys the manager that it is given, and says when it is gone itself.
class Last : public Thread
{
public:
    explicit Last(std::promise<void> toBeKept) : Thread("the last owner"), gone(std::move(toBeKept)) {}

    Last(const Last&) = delete;
    Last& operator=(const Last&) = delete;

    ~Last() override
    {
        gone.set_value();
    }

    void run() override
    {
        manager.reset();
    }

    void finishRun() override {}

    std::unique_ptr<ThreadManager> manager;

private:
    std::promise<void> gone;
};

TEST(ManagerDestroyedWhileItsRunStarts, ByTheRun)
{
    for (int round = 0; round < Rounds; ++round)
    {
        std::promise<void> promise;
        auto gone = promise.get_future();
        auto thread = std::make_shared<Last>(std::move(promise));
        thread->manager = std::make_unique<ThreadManager>();
        auto& manager = *thread->manager;
        manager.addThread(std::move(thread));
        gone.wait();
    }
}

TEST(ManagerDestroyedWhileItsRunStarts, ByTheCallback)
{
    for (int round = 0; round < Rounds; ++round)
    {
        std::promise<void> promise;
        auto gone = promise.get_future();
        auto owner = std::make_unique<ThreadManager>();
        auto& manager = *owner;
        manager.setRunEndedCallback([&owner] { owner.reset(); });
        manager.addThread(std::make_shared<Last>(std::move(promise)));
        gone.wait();
        EXPECT_EQ(owner, nullptr);
    }
}

} // namespace
} // namespace Valdane
