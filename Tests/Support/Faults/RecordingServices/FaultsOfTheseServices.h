#pragma once

#include "Journal.h"
#include "Platform/Logging/Logging.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Tests/Support/Faults/CallOuts.h"
#include "Tests/Support/Faults/FaultRow.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Valdane::Faults
{

/// Makes a call-out of every call of a service, and has all lines traced.
class Services
{
public:
    Services()
    {
        Logging::traceEnabled = true;
        Logging::onLine = [this](const std::string&)
        {
            isLogging = true;
            callOut(Callee::Log);
        };
        journalPrefix() = [this]
        {
            callOut(isLogging ? Callee::Log : Callee::Work);
            isLogging = false;
            return std::string();
        };
    }

    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    ~Services()
    {
        Logging::onLine = nullptr;
        Logging::lines.clear();
        journalPrefix() = nullptr;
        takeJournal();
    }

    static void stopTracing()
    {
        Logging::traceEnabled = false;
    }

    static void setThreadingMode(ThreadManager& threads, int mode)
    {
        threads.mode = mode;
    }

    /// Has the run, if one is running, come to its end.
    static void waitForRunEnd(ThreadManager& threads)
    {
        if (threads.getCurrentThread() != nullptr)
        {
            threads.work();
        }
    }

private:
    bool isLogging = false;
};

/// Whether the faults come from all who are called.
constexpr bool everyCalleeCanFail = true;

/// A fault while it lasts.
class CallOutFault
{
public:
    CallOutFault(std::size_t place, Thrown exception) : fault(place, exception) {}

    static bool hasFailed()
    {
        return failedCallOut().hasFailed;
    }

private:
    FailingCallOut fault;
};

struct KindOfFault
{
    std::string name;
    Thrown exception;
    bool isStranger;

    std::unique_ptr<CallOutFault> make(std::size_t place) const
    {
        return std::make_unique<CallOutFault>(place, exception);
    }

    template <typename World>
    static bool isExpectedIn(const FaultRow<World>& row)
    {
        return row.callsOut;
    }
};

inline std::vector<KindOfFault> kindsOfFault()
{
    return {{.name = "a standard exception", .exception = Thrown::CallOutFailed, .isStranger = false},
            {.name = "another exception", .exception = Thrown::Stranger, .isStranger = true}};
}

} // namespace Valdane::Faults
