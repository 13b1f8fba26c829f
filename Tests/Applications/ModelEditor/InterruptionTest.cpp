#include "Applications/ModelEditor/Document/Interruption.h"

#include "Applications/ModelEditor/Document/ComputeApart.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/WakeUp.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <limits>
#include <new>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using ModelEditor::computeApart;
using testing::ElementsAre;
using testing::ThrowsMessage;
using Valdane::VdException;

// Says yes from a question on that is chosen before.
class CountedInterruption : public ModelEditor::Interruption
{
public:
    explicit CountedInterruption(int saidNo) : left(saidNo)
    {
        if (left == 0)
        {
            wakeUp.signal();
        }
    }

    bool isAsked() const noexcept override
    {
        return left-- <= 0;
    }

    int getDescriptor() const noexcept override
    {
        return wakeUp.getDescriptor();
    }

private:
    mutable int left;
    ModelEditor::WakeUp wakeUp;
};

constexpr int neverAsked = std::numeric_limits<int>::max();

std::vector<std::string> selectedAddresses(const ModelEditor::XmlModel& model, const std::string& xpath)
{
    std::vector<std::string> addresses;
    for (const auto& selected : model.select(xpath).nodes)
    {
        addresses.push_back(selected.getAddress());
    }
    return addresses;
}

std::string manyElements()
{
    std::string bytes = "<r>";
    for (int i = 0; i < 3000; ++i)
    {
        bytes += "<e a='1'>t</e>";
    }
    return bytes + "</r>";
}

} // namespace

TEST(InterruptionTest, WhatIsComputedApartIsTheSame)
{
    const CountedInterruption no(neverAsked);
    EXPECT_EQ(computeApart([] { return std::string(); }, no), "");
    const std::string large(5'000'000, 'x');
    EXPECT_EQ(computeApart([&] { return large; }, no), large) << "more than a pipe holds";
}

TEST(InterruptionTest, WhatIsComputedApartChangesNothingHere)
{
    const CountedInterruption no(neverAsked);
    int calls = 0;
    computeApart(
        [&]
        {
            ++calls;
            return std::string();
        },
        no);
    EXPECT_EQ(calls, 0) << "it ran in a copy of the process";
}

TEST(InterruptionTest, WorkThatFailsApartIsToldAsLackOfMemory)
{
    const CountedInterruption no(neverAsked);
    EXPECT_THROW(computeApart([]() -> std::string { throw std::runtime_error("any"); }, no), std::bad_alloc);
    EXPECT_THROW(computeApart(
                     []() -> std::string
                     {
                         kill(getpid(), SIGKILL);
                         return {};
                     },
                     no),
                 std::bad_alloc);
}

TEST(InterruptionTest, EndlessWorkIsStopped)
{
    const CountedInterruption now(0);
    const auto endless = []() -> std::string
    {
        while (true)
        {
            pause();
        }
    };
    EXPECT_THAT([&] { computeApart(endless, now); }, ThrowsMessage<VdException>("interrupted"));
}

TEST(InterruptionTest, TheKeyIsNotMeantForTheProcessApart)
{
    const CountedInterruption no(neverAsked);
    EXPECT_EQ(computeApart(
                  []
                  {
                      raise(SIGINT);
                      return std::string("done");
                  },
                  no),
              "done");
}

// Nobody but the process apart has the end of the pipe then: what is read ends when that process does.
TEST(InterruptionTest, WorkApartEndsWithTheProcessThatWantsIt)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const pid_t asking = fork();
    if (asking == 0)
    {
        const CountedInterruption no(neverAsked);
        computeApart(
            [&]() -> std::string
            {
                const pid_t own = getpid();
                const bool isTold = write(ends[1], &own, sizeof own) == static_cast<ssize_t>(sizeof own);
                while (isTold)
                {
                    pause();
                }
                return {};
            },
            no);
        _exit(0);
    }
    close(ends[1]);
    pid_t worker = 0;
    ASSERT_EQ(read(ends[0], &worker, sizeof worker), static_cast<ssize_t>(sizeof worker)) << "it works";
    kill(asking, SIGKILL);
    waitpid(asking, nullptr, 0);
    pollfd waiting{.fd = ends[0], .events = POLLIN, .revents = 0};
    constexpr int longEnough = 60'000;
    const bool isOver = poll(&waiting, 1, longEnough) == 1;
    EXPECT_TRUE(isOver);
    if (!isOver)
    {
        kill(worker, SIGKILL);
    }
    close(ends[0]);
}

TEST(InterruptionTest, AnAddressSelectsTheSameApart)
{
    ModelEditor::XmlModel model("<r a='1'><b c='2'>t</b><b/><!--x--></r>", "m.xml");
    for (const std::string xpath :
         {"//b", "//@*", "//text()", "/", "//comment()", "//b[2] | //b[1]/@c", "//none"})
    {
        const auto here = selectedAddresses(model, xpath);
        const CountedInterruption no(neverAsked);
        model.setInterruption(&no);
        EXPECT_EQ(selectedAddresses(model, xpath), here) << xpath;
        model.setInterruption(nullptr);
    }
    const CountedInterruption no(neverAsked);
    model.setInterruption(&no);
    EXPECT_EQ(model.select("count(//b) + 1").value, "3");
    EXPECT_THAT(selectedAddresses(model, "//b"), ElementsAre("/r/b[1]", "/r/b[2]"));
}

TEST(InterruptionTest, XPathIsStoppedWhereverItIs)
{
    ModelEditor::XmlModel model(manyElements(), "m.xml");
    const CountedInterruption now(0);
    model.setInterruption(&now);
    for (const std::string xpath : {"//e[not(//e[not(//e[@b])])]", "count(//e[not(//e[not(//e[@b])])])"})
    {
        EXPECT_THAT([&] { model.select(xpath); }, ThrowsMessage<VdException>("interrupted"))
            << "takes days otherwise";
    }
    model.setInterruption(nullptr);
    EXPECT_EQ(selectedAddresses(model, "//e").size(), 3000U);
}

// Where it stops is chosen by the number of questions, so that each place is met.
TEST(InterruptionTest, ALineThatIsInterruptedFailsAndLeavesTheModelAlone)
{
    const std::string bytes = "<r><b c='2'/><b/><b/></r>";
    ModelEditor::XmlModel model(bytes, "m.xml");
    std::ostringstream out;
    ModelEditor::Editor editor(
        model, [](const ModelEditor::Output&) {}, out);
    const auto play = [&](const std::string& line, int saidNo)
    {
        out.str("");
        const CountedInterruption interruption(saidNo);
        editor.setInterruption(&interruption);
        try
        {
            editor.run(line);
            editor.setInterruption(nullptr);
            return std::string("done");
        }
        catch (const VdException& exception)
        {
            editor.setInterruption(nullptr);
            return std::string(exception.what());
        }
    };
    bool isPartlyShown = false;
    for (const std::string verb : {"find //b", "show //b", "tree", "set //b/@c 3", "delete //b", "cd //b[1]"})
    {
        const auto interrupted = verb.substr(0, verb.find(' ')) + ": interrupted";
        int saidNo = 0;
        for (auto end = interrupted; end == interrupted; ++saidNo)
        {
            end = play(verb, saidNo);
            isPartlyShown = isPartlyShown || (end == interrupted && !out.str().empty());
            EXPECT_EQ(model.toBytes() == bytes,
                      end == interrupted || !(verb.starts_with("set") || verb.starts_with("delete")))
                << verb << " after " << saidNo;
            ASSERT_TRUE(end == interrupted || end == "done") << end;
        }
        EXPECT_GT(saidNo, 1) << verb << " can be interrupted";
        if (model.toBytes() != bytes)
        {
            editor.run("undo");
        }
    }
    EXPECT_TRUE(isPartlyShown) << "what was found before is shown";
}
