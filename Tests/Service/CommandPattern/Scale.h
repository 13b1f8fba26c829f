#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Allocations.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{

/// What one phase of a case cost.
struct Phase
{
    std::string name;
    std::uint64_t allocations = 0;
    std::int64_t bytesKept = 0; ///< since the case began
    double nanoseconds = 0;
};

/// Runs the phases of a case and notes what they cost.
class Meter
{
public:
    void run(const std::string& name, const std::function<void()>& work)
    {
        const HeapUse before = HeapUse::now();
        const double start = processorTime();
        work();
        const double time = processorTime() - start;
        const HeapUse after = HeapUse::now();
        phases.push_back({.name = name,
                          .allocations = after.allocations - before.allocations,
                          .bytesKept = static_cast<std::int64_t>(after.bytes - first.bytes),
                          .nanoseconds = time});
    }

    /// Moved out, and with it the room that noting takes.
    std::vector<Phase> take()
    {
        return std::move(phases);
    }

private:
    std::vector<Phase> phases = reserved();
    HeapUse first = HeapUse::now();

    // Of this thread alone, so that it is the same whatever else the machine does.
    static double processorTime()
    {
        timespec time = {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
    }

    static std::vector<Phase> reserved()
    {
        std::vector<Phase> room;
        room.reserve(20);
        return room;
    }
};

class AddCommand : public CommandBase
{
public:
    explicit AddCommand(std::int64_t& target) : CommandBase("Add one to the number"), number(target) {}

    void execute() override
    {
        ++number;
    }

    void undo() override
    {
        --number;
    }

protected:
    std::int64_t& number;
};

// Cases in which commands become part of another one, and those with a list or a journal of all of them; see ScaleTest.cpp.

void scaleGroup(std::size_t size, Meter& meter);
void scaleGroups(std::size_t size, Meter& meter);
void scaleMerges(std::size_t size, Meter& meter);
void scaleWaitingCommands(std::size_t size, Meter& meter);
void scaleHistoryList(std::size_t size, Meter& meter);
void scaleJournal(std::size_t size, Meter& meter);

} // namespace Valdane
