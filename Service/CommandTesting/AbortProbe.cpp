// The run stops at the place until the abort is set, and not longer: an abortRun() may need a lock that the run holds
// where it asks. For the same reason a run cannot abort itself there; in synchronous mode a thread of the probe does.

#include "Service/CommandTesting/AbortProbe.h"

#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/PlaceSequence.h"

#include <utility>

namespace Valdane
{

AbortProbe::AbortProbe(CommandManager& watchedManager, std::uint64_t abortedPlace, bool namesRuns)
    : manager(watchedManager),
      threads(watchedManager.getThreadManager()),
      target(abortedPlace),
      tellsNames(namesRuns),
      before(install(this))
{
    threads->setRunEndedCallback([this] { runEnds(); });
}

AbortProbe::~AbortProbe()
{
    threads->setRunEndedCallback(nullptr);
    install(before);
    waitForAbort();
}

void AbortProbe::runBegins(const Thread& thread)
{
    {
        const std::scoped_lock lock(mutex);
        ++runs;
        questionsOfRun = 0;
        nextQuestion = 1;
        name = !tellsNames ? "" : " in \"" + thread.getName() + "\"";
    }
    stop({.what = "before the run"});
}

void AbortProbe::abortIsAsked(const Thread& /*thread*/)
{
    std::uint64_t number = 0;
    {
        const std::scoped_lock lock(mutex);
        ++questions;
        number = ++questionsOfRun;
        if (number != nextQuestion)
        {
            return;
        }
        nextQuestion = placeAfter(number);
    }
    stop({.what = "at isAborted()", .call = number});
}

void AbortProbe::abortWasSet(const Thread& /*thread*/)
{
    const std::scoped_lock lock(mutex);
    isReleased = true;
    changed.notify_all();
}

// Called on the worker.
void AbortProbe::runEnds()
{
    const std::scoped_lock lock(mutex);
    isPlaceTheEnd = isReached({.what = "after the run"});
    hasEnded = true;
    changed.notify_all();
}

// The mutex is locked.
bool AbortProbe::isReached(const Place& reached)
{
    if (next++ != target)
    {
        return false;
    }
    place = reached;
    place.step = name;
    return true;
}

void AbortProbe::stop(const Place& reached)
{
    std::unique_lock lock(mutex);
    if (!isReached(reached))
    {
        return;
    }
    if (threads->getThreadingMode() == 0)
    {
        aborter = std::thread([this] { abort(); });
    }
    isHeld = true;
    changed.notify_all();
    changed.wait(lock, [this] { return isReleased; });
    isHeld = false;
}

bool AbortProbe::waitForPlaceOrEnd()
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return isHeld || hasEnded; });
    // Left behind for the next run it would only spare a wait, when the place is behind already.
    hasEnded = false;
    return isHeld || std::exchange(isPlaceTheEnd, false);
}

void AbortProbe::waitForAbort()
{
    if (aborter.joinable())
    {
        aborter.join();
    }
}

void AbortProbe::abort()
{
    try
    {
        Mistake::guard("abortRun()", [this] { manager.abortThreadedCommand(); });
    }
    catch (const Mistake& mistake)
    {
        const std::scoped_lock lock(mutex);
        failure = mistake.what();
    }
}

Place AbortProbe::getPlace() const
{
    const std::scoped_lock lock(mutex);
    return place;
}

std::string AbortProbe::getFailure() const
{
    const std::scoped_lock lock(mutex);
    return failure;
}

std::uint64_t AbortProbe::getRuns() const
{
    const std::scoped_lock lock(mutex);
    return runs;
}

std::uint64_t AbortProbe::getQuestions() const
{
    const std::scoped_lock lock(mutex);
    return questions;
}

} // namespace Valdane
