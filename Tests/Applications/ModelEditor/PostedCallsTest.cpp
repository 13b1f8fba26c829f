#include "Applications/ModelEditor/Terminal/PostedCalls.h"

#include "Applications/ModelEditor/Terminal/WakeUp.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <poll.h>
#include <string>
#include <vector>

namespace
{

using ModelEditor::PostedCalls;
using ModelEditor::WakeUp;
using ValdaneTests::ElementsAre;

class PostedCallsTest : public testing::Test
{
protected:
    std::function<void()> note(const std::string& text)
    {
        return [this, text]
        {
            called.push_back(text);
        };
    }

    bool isWoken() const
    {
        pollfd waiting{.fd = wakeUp.getDescriptor(), .events = POLLIN, .revents = 0};
        return poll(&waiting, 1, 0) == 1;
    }

    std::vector<std::string> called;
    WakeUp wakeUp;
    PostedCalls calls{wakeUp};
};

TEST_F(PostedCallsTest, AreCalledOneByOneInOrderEachAfterAWakeUp)
{
    EXPECT_FALSE(isWoken());
    calls.post(note("first"));
    calls.post(note("second"));
    EXPECT_TRUE(isWoken());
    wakeUp.wait();
    calls.callOne();
    EXPECT_THAT(called, ElementsAre("first"));
    EXPECT_TRUE(isWoken());
    wakeUp.wait();
    calls.callOne();
    EXPECT_THAT(called, ElementsAre("first", "second"));
    EXPECT_FALSE(isWoken());
}

TEST_F(PostedCallsTest, WithoutAnyNothingIsCalled)
{
    calls.callOne();
    calls.post(note("only"));
    calls.callOne();
    calls.callOne();
    EXPECT_THAT(called, ElementsAre("only"));
}

TEST_F(PostedCallsTest, ACallMayPostAnotherWhichIsNotCalledInsideIt)
{
    calls.post(
        [this]
        {
            calls.post(note("inner"));
            called.emplace_back("outer");
        });
    calls.callOne();
    EXPECT_THAT(called, ElementsAre("outer"));
    calls.callOne();
    EXPECT_THAT(called, ElementsAre("outer", "inner"));
}

} // namespace
