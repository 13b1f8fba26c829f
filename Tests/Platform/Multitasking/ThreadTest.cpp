#include "Platform/Multitasking/Thread.h"

#include "Platform/Multitasking/Runnable.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace
{

using Valdane::Runnable;
using Valdane::Thread;

class PlainThread : public Thread
{
public:
    using Thread::abortRun;
    using Thread::prepareRun;
    using Thread::Thread;

    void run() override {}

    void finishRun() override {}
};

class NotingItsEnd : public PlainThread
{
public:
    explicit NotingItsEnd(bool& endedFlag) : PlainThread("end"), ended(endedFlag) {}

    NotingItsEnd(const NotingItsEnd&) = delete;
    NotingItsEnd& operator=(const NotingItsEnd&) = delete;

    ~NotingItsEnd() override
    {
        ended = true;
    }

private:
    bool& ended;
};

static_assert(std::is_abstract_v<Runnable> && std::is_abstract_v<Thread>);
static_assert(!std::is_copy_constructible_v<PlainThread> && !std::is_copy_assignable_v<PlainThread>);
static_assert(!std::is_move_constructible_v<PlainThread> && !std::is_move_assignable_v<PlainThread>);

TEST(Thread, KeepsItsName)
{
    EXPECT_EQ(PlainThread("mesh the wing").getName(), "mesh the wing");
    EXPECT_EQ(PlainThread("").getName(), "");
}

TEST(Thread, IsNotAbortedAndBlocksEverythingUnlessToldOtherwise)
{
    const PlainThread thread("plain");
    EXPECT_FALSE(thread.isAborted());
    EXPECT_EQ(thread.blockingLevel(), Thread::BlockingLevel::Everything);
}

TEST(Thread, OptionalOperationsDoNothingByDefault)
{
    PlainThread thread("plain");
    thread.prepareRun();
    thread.abortRun();
    thread.sendFinishSignal(false);
    thread.sendFinishSignal(true);
    EXPECT_FALSE(thread.isAborted());
}

TEST(Thread, IsDestroyedWholeThroughRunnable)
{
    bool ended = false;
    std::unique_ptr<Runnable> runnable = std::make_unique<NotingItsEnd>(ended);
    EXPECT_FALSE(ended);
    runnable.reset();
    EXPECT_TRUE(ended);
}

} // namespace
