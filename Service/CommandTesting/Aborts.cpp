#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/AbortTrial.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/PlacedMistakes.h"
#include "Service/CommandTesting/Trial.h"

#include <cstdint>
#include <string>

namespace Valdane
{
namespace
{

void expectThreads(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    const Trial trial(subject, make);
    const CommandBase* const command = trial.getCommand().get();
    if (dynamic_cast<const ThreadedCommand*>(command) == nullptr &&
        dynamic_cast<const ThreadedMacroCommand*>(command) == nullptr)
    {
        throw Mistake(
            "It is neither a ThreadedCommand nor a ThreadedMacroCommand, so that it cannot be aborted");
    }
}

/// Aborts the command at one place after the other, until there is none left.
class AbortsInOneMode
{
public:
    AbortsInOneMode(const CommandSubject& triedSubject, const CommandSubject::Maker& makeCommand,
                    AbortTrial::Mode threadingMode)
        : subject(triedSubject), make(makeCommand), mode(threadingMode)
    {
    }

    void addTo(Report& report) const
    {
        PlacedMistakes mistakes;
        bool isDone = false;
        mistakes.collect("not aborted", [&] { isDone = runWhole(mistakes); });
        mistakes.addTo(report, name() + ",");
        mistakes = {};
        for (std::uint64_t place = 0; isDone && abortAt(place, mistakes); ++place)
        {
        }
        mistakes.addTo(report, name() + ", aborted");
    }

private:
    std::string name() const
    {
        return mode == AbortTrial::Mode::OnWorker ? "On a worker" : "In synchronous mode";
    }

    // Whether it can be aborted.
    bool runWhole(PlacedMistakes& mistakes) const
    {
        AbortTrial trial(subject, make, mode, AbortProbe::nowhere);
        trial.run();
        trial.expectDone();
        if (mode == AbortTrial::Mode::OnWorker && !trial.isAsking())
        {
            mistakes.add("not aborted", "no run asks isAborted(), so that none stops early");
        }
        return true;
    }

    // Whether there was such a place.
    bool abortAt(std::uint64_t place, PlacedMistakes& mistakes) const
    {
        AbortTrial trial(subject, make, mode, place);
        trial.run();
        if (trial.getPlace().empty())
        {
            return false;
        }
        mistakes.collect(trial.getPlace(), [&] { trial.expectAborted(); });
        return true;
    }

    const CommandSubject& subject;
    const CommandSubject::Maker& make;
    AbortTrial::Mode mode;
};

} // namespace

Report Checks::aborts(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    Report report = Trial::begin("Aborts", subject, make);
    Mistake::collect(report,
                     [&]
                     {
                         expectThreads(subject, make);
                         AbortsInOneMode(subject, make, AbortTrial::Mode::OnWorker).addTo(report);
                         AbortsInOneMode(subject, make, AbortTrial::Mode::Synchronous).addTo(report);
                     });
    return report;
}

} // namespace Valdane
