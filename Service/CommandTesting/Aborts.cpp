#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/AbortTrial.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Leaks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Place.h"
#include "Service/CommandTesting/PlacedMistakes.h"
#include "Service/CommandTesting/Trial.h"

#include <cstdint>

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
class AbortCheck
{
public:
    AbortCheck(const CommandSubject& triedSubject, const CommandSubject::Maker& makeCommand,
               bool mayChangeNothing)
        : subject(triedSubject), make(makeCommand), changesNothing(mayChangeNothing)
    {
    }

    void run(AbortTrial::Mode mode)
    {
        bool isDone = false;
        whole.collect({.step = AbortTrial::nameOf(mode)},
                      [&]
                      {
                          runWhole(mode);
                          isDone = true;
                      });
        if (!isDone)
        {
            return;
        }
        // What the first time leaves may be kept on purpose.
        leaked = blocksLeftBy([&] { AbortTrial(subject, make, mode, AbortProbe::nowhere).run(); });
        if (leaked > 0)
        {
            whole.add({.step = AbortTrial::nameOf(mode)}, textOfLeak(leaked));
        }
        for (std::uint64_t place = 0; abortAt(mode, place); ++place)
        {
        }
    }

    void addTo(Report& report) const
    {
        whole.addTo(report, "Not aborted,");
        aborted.addTo(report, "Aborted");
    }

private:
    void runWhole(AbortTrial::Mode mode)
    {
        AbortTrial trial(subject, make, mode, AbortProbe::nowhere);
        trial.run();
        trial.expectDone(changesNothing);
        if (mode == AbortTrial::Mode::OnWorker && !trial.isAsking())
        {
            whole.add({.step = AbortTrial::nameOf(mode)},
                      "no run asks isAborted(), so that none stops early");
        }
    }

    // Whether there was such a place.
    bool abortAt(AbortTrial::Mode mode, std::uint64_t number)
    {
        Place place;
        {
            AbortTrial trial(subject, make, mode, number);
            trial.run();
            place = trial.getPlace();
            if (place.what.empty())
            {
                return false;
            }
            aborted.collect(place, [&] { trial.expectAborted(); });
        }
        // As above. A run that leaks without an abort is not accused of its aborts.
        const std::uint64_t left = blocksLeftBy([&] { AbortTrial(subject, make, mode, number).run(); });
        if (left > leaked)
        {
            aborted.add(place, textOfLeak(left));
        }
        return true;
    }

    const CommandSubject& subject;
    const CommandSubject::Maker& make;
    bool changesNothing;
    std::uint64_t leaked = 0;
    PlacedMistakes whole;
    PlacedMistakes aborted;
};

} // namespace

Report Checks::aborts(const CommandSubject& subject, const CommandSubject::Maker& make, bool changesNothing)
{
    Report report = Trial::begin("Aborts", subject, make);
    AbortCheck check(subject, make, changesNothing);
    Mistake::collect(report,
                     [&]
                     {
                         expectThreads(subject, make);
                         check.run(AbortTrial::Mode::OnWorker);
                         check.run(AbortTrial::Mode::Synchronous);
                     });
    check.addTo(report);
    return report;
}

} // namespace Valdane
