#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/LogMessage.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MeetingPoint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using testing::IsEmpty;
using Valdane::LegacyProgress;
using Valdane::LogMessage;
using ValdaneTests::ElementsAre;

constexpr int Full = LegacyProgress::FullRange;

LogMessage messageOf(const std::string& text)
{
    return {text, LogMessage::Info, ""};
}

std::string lastTextOf(const LegacyProgress& progress)
{
    const auto message = progress.getLastMessage();
    return message ? message->getText() : "none";
}

/// A bar over a part, which write their names into a list when they are told of a change.
class LegacyProgressNotification : public testing::Test
{
protected:
    LegacyProgressNotification()
    {
        bar.appendSubProgress(part.get(), 0, Full / 2);
    }

    std::function<void()> noting(const std::string& name)
    {
        return [this, name]
        {
            told.push_back(name);
        };
    }

    void noteBoth()
    {
        bar.setChangeCallback(noting("bar"));
        part->setChangeCallback(noting("part"));
    }

    std::vector<std::string> takeTold()
    {
        return std::exchange(told, {});
    }

    std::vector<std::string> told;
    LegacyProgress bar;
    std::unique_ptr<LegacyProgress> part = std::make_unique<LegacyProgress>();
};

TEST_F(LegacyProgressNotification, ThereIsNoMessageBeforeTheFirst)
{
    EXPECT_EQ(part->getLastMessage(), nullptr);
    part->setChangeCallback(noting("part"));
    EXPECT_EQ(part->getLastMessage(), nullptr);
}

TEST_F(LegacyProgressNotification, AMessageIsTheLastOfItsProgressAndOfAllAbove)
{
    LegacyProgress below;
    part->appendSubProgress(&below, 0, Full);
    part->sendMessage(LogMessage("boiling", LogMessage::Error, "over"));
    EXPECT_EQ(lastTextOf(below), "none");
    for (const auto* progress : {part.get(), &bar})
    {
        ASSERT_NE(progress->getLastMessage(), nullptr);
        EXPECT_EQ(progress->getLastMessage()->getText(), "boiling");
        EXPECT_EQ(progress->getLastMessage()->getType(), LogMessage::Error);
        EXPECT_EQ(progress->getLastMessage()->getSecondText(), "over");
    }
    below.sendMessage(messageOf("simmering"));
    EXPECT_EQ(lastTextOf(bar), "simmering");
    bar.sendMessage(messageOf("done"));
    EXPECT_EQ(lastTextOf(*part), "simmering");
    EXPECT_EQ(lastTextOf(bar), "done");
}

TEST_F(LegacyProgressNotification, AMessageOutlivesItsProgress)
{
    part->sendMessage(messageOf("boiling"));
    const auto message = part->getLastMessage();
    part.reset();
    EXPECT_EQ(message->getText(), "boiling");
    EXPECT_EQ(lastTextOf(bar), "boiling");
}

TEST_F(LegacyProgressNotification, EveryChangeIsToldOnceChildrenFirst)
{
    noteBoth();
    part->moveTo(10);
    EXPECT_THAT(takeTold(), ElementsAre("part", "bar"));
    part->setComplete();
    EXPECT_THAT(takeTold(), ElementsAre("part", "bar"));
    part->sendMessage(messageOf("boiling"));
    EXPECT_THAT(takeTold(), ElementsAre("part", "bar"));
    bar.moveTo(Full);
    EXPECT_THAT(takeTold(), ElementsAre("bar"));
    part->reset();
    EXPECT_THAT(takeTold(), ElementsAre("part"));
}

TEST_F(LegacyProgressNotification, WhatChangesNothingIsNotTold)
{
    noteBoth();
    part->reset();
    part->moveTo(0);
    bar.appendSubProgress(part.get(), 10, 20);
    EXPECT_THAT(takeTold(), IsEmpty());
    bar.moveTo(Full);
    takeTold();
    part->moveTo(10);
    EXPECT_THAT(takeTold(), ElementsAre("part"));
    part->setComplete();
    bar.reset();
    takeTold();
    part->setComplete();
    EXPECT_THAT(takeTold(), ElementsAre("bar"));
}

TEST_F(LegacyProgressNotification, StartingAnewIsToldToAllThatFollow)
{
    const auto manager = std::make_shared<LegacyProgress>();
    LegacyProgress window;
    window.addProgress(manager, true);
    manager->moveTo(10);
    window.setChangeCallback(noting("window"));
    manager->setChangeCallback(noting("manager"));
    manager->setSubProgress(nullptr, 100, 1);
    EXPECT_THAT(takeTold(), ElementsAre("manager", "window"));
}

TEST_F(LegacyProgressNotification, EverythingIsFinalBeforeAnyoneIsTold)
{
    std::vector<double> positions;
    std::vector<std::string> texts;
    part->setChangeCallback(
        [&]
        {
            positions.push_back(bar.progress());
            texts.push_back(lastTextOf(bar));
        });
    part->setComplete();
    part->sendMessage(messageOf("boiling"));
    bar.addProgress(std::shared_ptr<LegacyProgress>(std::shared_ptr<void>(), part.get()), true);
    part->reset();
    EXPECT_THAT(positions, ElementsAre(Full / 2, Full / 2, 0.0));
    EXPECT_THAT(texts, ElementsAre("none", "boiling", "boiling"));
}

TEST_F(LegacyProgressNotification, TheNewChildIsInPlaceWhenANewStartIsTold)
{
    const auto child = std::make_shared<LegacyProgress>();
    bar.moveTo(10);
    bar.setChangeCallback(
        [&]
        {
            bar.setChangeCallback({});
            child->setComplete();
        });
    bar.setSubProgress(child, 100, 1);
    EXPECT_EQ(bar.progress(), Full);
}

TEST_F(LegacyProgressNotification, ACallbackCanBeReplacedAndEnded)
{
    bar.setChangeCallback(noting("first"));
    bar.setChangeCallback(noting("second"));
    bar.moveTo(1);
    EXPECT_THAT(takeTold(), ElementsAre("second"));
    bar.setChangeCallback({});
    bar.moveTo(2);
    EXPECT_THAT(takeTold(), IsEmpty());
}

TEST_F(LegacyProgressNotification, ACallbackCanReplaceItself)
{
    const auto capture = std::make_shared<int>(41);
    bar.setChangeCallback(
        [this, capture]
        {
            bar.setChangeCallback(noting("second"));
            told.push_back("first " + std::to_string(*capture + 1)); // the capture still lives
        });
    bar.moveTo(1);
    EXPECT_EQ(capture.use_count(), 1);
    bar.moveTo(2);
    EXPECT_THAT(takeTold(), ElementsAre("first 42", "second"));
}

TEST_F(LegacyProgressNotification, ACallbackCanDestroyTheProgressThatTellsAndOthers)
{
    auto above = std::make_unique<LegacyProgress>();
    above->appendSubProgress(part.get(), 0, Full);
    above->setChangeCallback(noting("above"));
    const auto capture = std::make_shared<int>(41);
    part->setChangeCallback(
        [this, &above, capture]
        {
            above.reset();
            part.reset();
            told.push_back("part " + std::to_string(*capture + 1));
        });
    part->setComplete();
    EXPECT_THAT(takeTold(), ElementsAre("part 42")) << "who is gone is not told";
    EXPECT_EQ(capture.use_count(), 1);
}

TEST_F(LegacyProgressNotification, ACallbackThatWasEndedByAnotherIsNotCalledAnyMore)
{
    bar.setChangeCallback(noting("bar"));
    part->setChangeCallback([this] { bar.setChangeCallback({}); });
    part->setComplete();
    EXPECT_THAT(takeTold(), IsEmpty());
}

TEST_F(LegacyProgressNotification, ACallbackCanDriveTheTree)
{
    bar.setChangeCallback(noting("bar"));
    part->setChangeCallback(
        [this]
        {
            told.emplace_back("part");
            part->moveTo(20);
        });
    part->moveTo(10);
    EXPECT_EQ(part->progress(), 20.0);
    EXPECT_EQ(bar.progress(), 10.0);
    EXPECT_THAT(takeTold(), ElementsAre("part", "part", "bar", "bar"));
}

TEST_F(LegacyProgressNotification, WhatACallbackThrowsReachesTheDriverAfterAllHasMoved)
{
    bar.setChangeCallback(noting("bar"));
    part->setChangeCallback([] { throw std::runtime_error("no window"); });
    EXPECT_THROW(part->setComplete(), std::runtime_error);
    EXPECT_EQ(part->progress(), Full);
    EXPECT_EQ(bar.progress(), Full / 2);
    EXPECT_THAT(takeTold(), IsEmpty());
}

TEST_F(LegacyProgressNotification, TheDestructorOfACallbackMayUseTheProgress)
{
    struct Finally
    {
        std::function<void()> action;

        ~Finally()
        {
            action();
        }
    };

    auto last = std::make_shared<Finally>([this] { bar.setChangeCallback(noting("set by a destructor")); });
    bar.setChangeCallback([kept = std::move(last)] {});
    bar.setChangeCallback({});
    bar.moveTo(1);
    EXPECT_THAT(takeTold(), ElementsAre("set by a destructor"));
}

TEST_F(LegacyProgressNotification, OthersReadAndListenWhileOneThreadDrives)
{
    constexpr int Steps = 2000;
    std::atomic<int> calls{0};
    std::atomic<int> callsOfPart{0};
    ValdaneTests::MeetingPoint listening(2);
    std::atomic<bool> isDriven{false};
    std::thread reader(
        [&]
        {
            bar.setChangeCallback([&calls] { ++calls; });
            listening.arriveAndWait();
            double last = 0.0;
            do
            {
                part->setChangeCallback([&callsOfPart] { ++callsOfPart; });
                const double now = bar.progress();
                EXPECT_GE(now, last);
                EXPECT_LE(bar.fraction(), 0.5);
                last = now;
                const auto text = lastTextOf(bar);
                EXPECT_TRUE(text == "none" || text.starts_with("step ")) << text;
            } while (!isDriven);
        });
    listening.arriveAndWait();
    for (int step = 1; step <= Steps; ++step)
    {
        part->moveTo(static_cast<double>(Full) / Steps * step);
        part->sendMessage(messageOf("step " + std::to_string(step)));
    }
    isDriven = true;
    reader.join();
    EXPECT_EQ(calls, 2 * Steps);
    EXPECT_LE(callsOfPart, 2 * Steps);
    EXPECT_EQ(lastTextOf(bar), "step " + std::to_string(Steps));
    EXPECT_EQ(bar.progress(), Full / 2);
}

TEST_F(LegacyProgressNotification, ThreadsThatSetCallbacksAtOnceLeaveOneOfThem)
{
    for (int round = 0; round < 200; ++round)
    {
        LegacyProgress fresh;
        std::atomic<int> calls{0};
        ValdaneTests::MeetingPoint start(2);
        const auto set = [&]
        {
            start.arriveAndWait();
            fresh.setChangeCallback([&calls] { ++calls; });
        };
        std::thread other(set);
        set();
        other.join();
        fresh.moveTo(1);
        EXPECT_EQ(calls, 1);
    }
}

} // namespace
