#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandTesting/AllocationFaults.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/FailurePoints.h"
#include "Service/CommandTesting/FailureScenario.h"
#include "Service/CommandTesting/FailureStep.h"
#include "Service/CommandTesting/Fault.h"
#include "Service/CommandTesting/Leaks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Place.h"
#include "Service/CommandTesting/PlaceSequence.h"
#include "Service/CommandTesting/PlacedMistakes.h"
#include "Service/CommandTesting/RoundTripOptions.h"
#include "Service/CommandTesting/Trial.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

/// Lets every step of a command fail at every place, one at a time.
class FailureCheck
{
public:
    FailureCheck(const CommandSubject& triedSubject, const CommandSubject::Maker& makeCommand,
                 FailurePoints& usedPoints, Report& filledReport)
        : subject(triedSubject),
          make(makeCommand),
          points(usedPoints),
          allocations(AllocationFaults::getInstalled()),
          report(filledReport)
    {
    }

    /// @throws Mistake what no step can be tried after.
    void run()
    {
        const Trial trial(subject, make);
        isMacro = dynamic_cast<const MacroCommand*>(trial.getCommand().get()) != nullptr;
        for (const FailureStep& step : FailureStep::allFor(*trial.getCommand()))
        {
            // Through the manager the mistakes of the command would only be told again.
            const auto isTheSame = [&step](const FailureStep& other)
            {
                return step.callsTheSameAs(other);
            };
            if (std::ranges::none_of(mistaken, isTheSame))
            {
                tryStep(step);
            }
        }
        findLateLeak();
    }

    /// Adds what failures have left behind.
    void tell() const
    {
        mistakes.addTo(report, "Made to fail");
    }

private:
    void tryStep(const FailureStep& step)
    {
        std::optional<FailureScenario::Data> whole;
        const auto runWhole = [&]
        {
            whole = FailureScenario(subject, make, step).runWhole();
        };
        runWhole();
        const std::uint64_t leaked = blocksLeftBy(runWhole);
        if (!whole)
        {
            return;
        }
        if (leaked > 0 && !isLeaking)
        {
            isLeaking = true;
            report.addMistake(step.getName() + ", without a failure: " + textOfLeak(leaked));
        }
        for (const std::unique_ptr<Fault>& fault : faultsFor(step))
        {
            tryPlaces([&](std::uint64_t place) { return tryPlace(step, *whole, *fault, place); });
        }
    }

    // A step that is repeated may let go of what the first time has kept, or keep more each time.
    void findLateLeak()
    {
        const auto travel = [this]
        {
            Checks::roundTrip(subject, make, {});
        };
        if (allocations == nullptr || isLeaking)
        {
            return;
        }
        travel();
        const std::uint64_t leaked = blocksLeftBy(travel);
        if (leaked > 0)
        {
            report.addMistake("Undone and redone several times, without a failure: " + textOfLeak(leaked));
        }
    }

    std::vector<std::unique_ptr<Fault>> faultsFor(const FailureStep& step) const
    {
        std::vector<std::unique_ptr<Fault>> faults;
        if (allocations != nullptr && !step.isByManager())
        {
            faults.push_back(Fault::ofAllocation(*allocations));
        }
        faults.push_back(Fault::ofPoint(points, FailurePoints::Kind::StandardException));
        // A macro does not roll back for anything else.
        if (!isMacro)
        {
            faults.push_back(Fault::ofPoint(points, FailurePoints::Kind::Other));
        }
        return faults;
    }

    // Whether there was such a place.
    bool tryPlace(const FailureStep& step, const FailureScenario::Data& whole, Fault& fault,
                  std::uint64_t place)
    {
        const std::string mistake = failAt(step, whole, fault, place);
        if (!fault.wasReached())
        {
            return false;
        }
        if (!mistake.empty())
        {
            add(step, fault, mistake);
        }
        // What the first time leaves may be kept on purpose.
        const std::uint64_t left = isLeaking ? 0 : blocksLeftBy([&] { failAt(step, whole, fault, place); });
        if (left > 0)
        {
            add(step, fault, textOfLeak(left));
        }
        return true;
    }

    void add(const FailureStep& step, const Fault& fault, const std::string& mistake)
    {
        Place place = fault.getPlace();
        place.step = "in " + step.getName();
        mistakes.add(place, mistake);
        mistaken.push_back(step);
    }

    // The text of the mistake, empty if there is none.
    std::string failAt(const FailureStep& step, const FailureScenario::Data& whole, Fault& fault,
                       std::uint64_t place) const
    {
        FailureScenario scenario(subject, make, step);
        scenario.expectBefore(whole);
        try
        {
            scenario.runFailing(fault, place, whole);
            return "";
        }
        catch (const Mistake& mistake)
        {
            return mistake.what();
        }
    }

    const CommandSubject& subject;
    const CommandSubject::Maker& make;
    FailurePoints& points;
    AllocationFaults* const allocations;
    Report& report;
    PlacedMistakes mistakes;
    std::vector<FailureStep> mistaken;
    bool isMacro = false;
    bool isLeaking = false;
};

} // namespace

Report Checks::failures(const CommandSubject& subject, const CommandSubject::Maker& make,
                        FailurePoints& points)
{
    const bool hasAllocations = AllocationFaults::getInstalled() != nullptr;
    Report report(Trial::begin("Failures", subject, make).getSubject() +
                  (hasAllocations ? "" : ", without failing allocations"));
    FailureCheck check(subject, make, points, report);
    Mistake::collect(report, [&] { check.run(); });
    check.tell();
    return report;
}

} // namespace Valdane
