// In a program with Valdane::CommandTestingAllocations.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/AllocationFaults.h"
#include "Service/CommandTesting/CommandKit.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using Numbers = std::vector<std::unique_ptr<int>>;

std::string textOf(const Numbers& numbers)
{
    std::string text;
    for (const auto& number : numbers)
    {
        text += std::to_string(*number) + "\n";
    }
    return text;
}

CommandKit<Numbers> numbersKit()
{
    return {[] { return std::make_unique<Numbers>(); }, textOf};
}

// Puts two numbers in, and takes them out.
// An optimizing compiler may leave out memory that nobody sees.
const void* volatile seen = nullptr;

std::unique_ptr<int> allocate(int value)
{
    auto number = std::make_unique<int>(value);
    seen = number.get();
    return number;
}

class PutCommand : public CommandBase
{
public:
    explicit PutCommand(Numbers& filledNumbers) : CommandBase("Put"), numbers(filledNumbers) {}

    void execute() override
    {
        auto first = std::make_unique<int>(1);
        auto second = std::make_unique<int>(2);
        numbers.reserve(2);
        numbers.push_back(std::move(first));
        numbers.push_back(std::move(second));
    }

    void undo() override
    {
        numbers.clear();
    }

protected:
    Numbers& numbers;
};

template <typename Command>
std::string allocationFailuresOf()
{
    return numbersKit()
        .failures([](Numbers& numbers) { return std::make_shared<Command>(numbers); })
        .toText();
}

TEST(AllocationFailuresTest, OneThatAllocatesFirstIsNotAccused)
{
    EXPECT_EQ(allocationFailuresOf<PutCommand>(), "Failures of \"Put\": no mistakes\n");
}

TEST(AllocationFailuresTest, AMacroIsNotAccused)
{
    const auto make = [](Numbers& numbers)
    {
        auto macro = std::make_shared<MacroCommand>("All");
        macro->addCommand(std::make_shared<PutCommand>(numbers));
        return macro;
    };
    EXPECT_EQ(numbersKit().failures(make).toText(), "Failures of \"All\": no mistakes\n");
}

TEST(AllocationFailuresTest, OneThatAllocatesHalfWayIsAccused)
{
    class OneByOne : public PutCommand
    {
    public:
        using PutCommand::PutCommand;

        void execute() override
        {
            numbers.reserve(2);
            numbers.push_back(std::make_unique<int>(1));
            numbers.push_back(std::make_unique<int>(2));
        }
    };

    EXPECT_EQ(
        allocationFailuresOf<OneByOne>(),
        "Failures of \"Put\": 1 mistake\n"
        "  Made to fail in execute() at operator new (call 3),\n"
        "    and in redo() at operator new (call 2): the data are not as before (- expected, + found):\n"
        "    + 1\n");
}

// What commands forget to release, so that the tests leak nothing.
Numbers kept;

TEST(AllocationFailuresTest, OneThatLosesWhatItHasAllocatedIsAccused)
{
    class Losing : public PutCommand
    {
    public:
        using PutCommand::PutCommand;

        void execute() override
        {
            kept.push_back(std::make_unique<int>(1));
            auto second = std::make_unique<int>(2);
            numbers.reserve(2);
            numbers.push_back(std::move(kept.back()));
            kept.pop_back();
            numbers.push_back(std::move(second));
        }
    };

    kept.reserve(1000);
    EXPECT_EQ(allocationFailuresOf<Losing>(),
              "Failures of \"Put\": 1 mistake\n"
              "  Made to fail in execute() at operator new (calls 2 and 3),\n"
              "    and in redo() at operator new (call 2): 1 block is not released\n");
    kept.clear();
}

TEST(AllocationFailuresTest, OneThatLeaksWithoutAFailureIsAccusedOfThatAlone)
{
    class Keeping : public PutCommand
    {
    public:
        using PutCommand::PutCommand;

        void execute() override
        {
            auto more = std::make_unique<int>(0);
            PutCommand::execute();
            kept.push_back(std::move(more));
        }
    };

    kept.reserve(1000);
    EXPECT_EQ(allocationFailuresOf<Keeping>(), "Failures of \"Put\": 1 mistake\n"
                                               "  execute(), without a failure: 1 block is not released\n");
    kept.clear();
}

TEST(AllocationFailuresTest, WhatIsKeptOnceIsNoLeak)
{
    class KeepingOnce : public PutCommand
    {
    public:
        using PutCommand::PutCommand;

        void execute() override
        {
            static const auto table = std::make_unique<int>(0);
            PutCommand::execute();
        }
    };

    EXPECT_EQ(allocationFailuresOf<KeepingOnce>(), "Failures of \"Put\": no mistakes\n");
}

// Makes a number on the worker, and puts it in when it is told of success.
class MakeRun : public ThreadedCommand
{
public:
    explicit MakeRun(Numbers& filledNumbers) : ThreadedCommand("Make"), numbers(filledNumbers) {}

    void run() override
    {
        number = std::make_unique<int>(1);
        isAborted();
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            numbers.push_back(std::move(number));
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void undo() override
    {
        numbers.clear();
    }

protected:
    Numbers& numbers;
    std::unique_ptr<int> number;
};

template <typename Run>
std::string abortsOf()
{
    return numbersKit().aborts([](Numbers& numbers) { return std::make_shared<Run>(numbers); }).toText();
}

TEST(AllocationFailuresTest, ARunThatLosesSomethingWhenItIsAbortedIsAccused)
{
    class Losing : public MakeRun
    {
    public:
        using MakeRun::MakeRun;

        void sendFinishSignal(bool ok) override
        {
            if (!ok)
            {
                kept.push_back(std::move(number));
            }
            MakeRun::sendFinishSignal(ok);
        }
    };

    EXPECT_EQ(abortsOf<MakeRun>(), "Aborts of \"Make\": no mistakes\n");
    kept.reserve(1000);
    EXPECT_EQ(
        abortsOf<Losing>(),
        "Aborts of \"Make\": 1 mistake\n"
        "  Aborted on a worker before the run, at isAborted() (call 1) and after the run,\n"
        "    and in synchronous mode before the run and at isAborted() (call 1): 1 block is not released\n");
    kept.clear();
}

TEST(AllocationFailuresTest, ARunThatLosesSomethingEachTimeIsNotAccusedOfItsAborts)
{
    class Losing : public MakeRun
    {
    public:
        using MakeRun::MakeRun;

        void run() override
        {
            kept.push_back(std::make_unique<int>(2));
            MakeRun::run();
        }
    };

    kept.reserve(1000);
    EXPECT_EQ(abortsOf<Losing>(),
              "Aborts of \"Make\": 1 mistake\n"
              "  Not aborted, on a worker and in synchronous mode: 1 block is not released\n");
    kept.clear();
}

TEST(AllocationFailuresTest, ARunThatLosesMoreWhenItIsAbortedIsAccusedOfBoth)
{
    class Losing : public MakeRun
    {
    public:
        using MakeRun::MakeRun;

        void run() override
        {
            kept.push_back(std::make_unique<int>(2));
            MakeRun::run();
            if (isAborted())
            {
                kept.push_back(std::make_unique<int>(3));
            }
        }
    };

    kept.reserve(1000);
    EXPECT_EQ(
        abortsOf<Losing>(),
        "Aborts of \"Make\": 2 mistakes\n"
        "  Not aborted, on a worker and in synchronous mode: 1 block is not released\n"
        "  Aborted on a worker and in synchronous mode before the run and at isAborted() (calls 1 and 2): "
        "2 blocks are not released\n");
    kept.clear();
}

TEST(AllocationFailuresTest, AMacroWhoseUndoLosesSomethingIsAccusedOfItsAborts)
{
    class Losing : public PutCommand
    {
    public:
        using PutCommand::PutCommand;

        void undo() override
        {
            kept.push_back(std::make_unique<int>(4));
            PutCommand::undo();
        }
    };

    const auto make = [](Numbers& numbers)
    {
        auto macro = std::make_shared<ThreadedMacroCommand>("All");
        macro->addCommand(std::make_shared<Losing>(numbers));
        macro->addCommand(std::make_shared<MakeRun>(numbers));
        return macro;
    };
    kept.reserve(1000);
    EXPECT_EQ(numbersKit().aborts(make).toText(), "Aborts of \"All\": 1 mistake\n"
                                                  "  Aborted on a worker in \"Make\" before the run, at "
                                                  "isAborted() (call 1) and after the run: 1 block is "
                                                  "not released\n");
    kept.clear();
}

TEST(AllocationFailuresTest, OfManyAllocationsTheLastOneIsTried)
{
    // Forgets the number that it has put in, if there is no memory for what comes then.
    class Long : public PutCommand
    {
    public:
        using PutCommand::PutCommand;

        void execute() override
        {
            for (int i = 0; i < 400; ++i)
            {
                allocate(i);
            }
            auto number = allocate(1);
            numbers.reserve(1);
            numbers.push_back(std::move(number));
            allocate(2);
        }
    };

    const std::string text = allocationFailuresOf<Long>();
    EXPECT_NE(text.find("in execute() at operator new (call 403)"), std::string::npos) << text;
    EXPECT_NE(text.find("in redo() at operator new (call 402)"), std::string::npos) << text;
}

TEST(AllocationFailuresTest, OneThatDoesWithoutMemoryIsNotAccused)
{
    class Frugal : public PutCommand
    {
    public:
        using PutCommand::PutCommand;

        void execute() override
        {
            try
            {
                numbers.reserve(100);
            }
            catch (const std::bad_alloc&)
            {
                numbers.reserve(2);
            }
            PutCommand::execute();
        }

        void undo() override
        {
            Numbers().swap(numbers);
        }
    };

    EXPECT_EQ(allocationFailuresOf<Frugal>(), "Failures of \"Put\": no mistakes\n");
}

TEST(AllocationFailuresTest, TheObjectsInstallTheirFaults)
{
    AllocationFaults* const faults = AllocationFaults::getInstalled();
    ASSERT_NE(faults, nullptr);
    faults->begin(1);
    const auto first = allocate(1);
    EXPECT_THROW(allocate(2), std::bad_alloc);
    EXPECT_TRUE(faults->end());
    faults->begin(0);
    EXPECT_FALSE(faults->end());
    const std::uint64_t before = faults->getBlocksInUse();
    auto block = allocate(3);
    EXPECT_EQ(faults->getBlocksInUse(), before + 1);
    block.reset();
    EXPECT_EQ(faults->getBlocksInUse(), before);
}

} // namespace
} // namespace Valdane
