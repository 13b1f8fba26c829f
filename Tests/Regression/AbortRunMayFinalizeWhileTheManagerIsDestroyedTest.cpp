// The destructor of the thread manager called abortRun() without keeping the thread. An abortRun() that
// finalized the thread destroyed the object that it was running in, and one that then added another thread
// had the destructor wait for a run that nobody aborts.

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

/// Finalizes itself when it is aborted, and writes down what happened to it.
class SelfFinalizing : public Thread
{
public:
    SelfFinalizing(ThreadManager& itsManager, std::string& itsStory)
        : Thread("finalizes itself"), manager(itsManager), story(itsStory)
    {
    }

    SelfFinalizing(const SelfFinalizing&) = delete;
    SelfFinalizing& operator=(const SelfFinalizing&) = delete;

    ~SelfFinalizing() override
    {
        story += "destroyed;";
    }

    void run() override {}

    void finishRun() override {}

    std::shared_ptr<Thread> next;

protected:
    void abortRun() override
    {
        manager.finalizeThread();
        story += "finalized;";
        if (next)
        {
            EXPECT_THROW(manager.addThread(next), VdException);
            EXPECT_EQ(manager.getCurrentThread(), nullptr);
            story += "refused;";
        }
    }

private:
    ThreadManager& manager;
    std::string& story;
};

TEST(AbortRunMayFinalizeWhileTheManagerIsDestroyed, AndItsThreadLivesUntilItReturns)
{
    std::string story;
    {
        ThreadManager manager;
        manager.addThread(std::make_shared<SelfFinalizing>(manager, story));
    }
    EXPECT_EQ(story, "finalized;destroyed;");
}

TEST(AbortRunMayFinalizeWhileTheManagerIsDestroyed, ButNotAddAnotherThread)
{
    std::string story;
    std::string storyOfNext;
    {
        ThreadManager manager;
        auto thread = std::make_shared<SelfFinalizing>(manager, story);
        thread->next = std::make_shared<SelfFinalizing>(manager, storyOfNext);
        manager.addThread(std::move(thread));
    }
    EXPECT_EQ(story, "finalized;refused;destroyed;");
    EXPECT_EQ(storyOfNext, "destroyed;");
}

} // namespace
} // namespace Valdane
