#pragma once

#include "Platform/Multitasking/RunProbe.h"
#include "Service/CommandTesting/Place.h"

#include <condition_variable>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace Valdane
{

class CommandManager;
class ThreadManager;

/// Has the runs of a manager stop at one place, where they are aborted. The places of a command have numbers: the
/// beginning of each run, its questions for isAborted() that placeAfter() leads to, and on a worker its end.
///
/// The run is held at the place until the abort is set.
///
/// Thread: the manager's, but for what RunProbe says. @pre no run is running when it is made or destroyed.
class AbortProbe final : public RunProbe
{
public:
    /// A place that no run has.
    static constexpr auto nowhere = std::numeric_limits<std::uint64_t>::max();

    /// @param namesRuns  whether the place is told with the name of the run.
    AbortProbe(CommandManager& watchedManager, std::uint64_t abortedPlace, bool namesRuns);
    AbortProbe(const AbortProbe&) = delete;
    AbortProbe& operator=(const AbortProbe&) = delete;
    ~AbortProbe() override;

    void runBegins(const Thread& thread) override;
    void abortIsAsked(const Thread& thread) override;
    void abortWasSet(const Thread& thread) override;

    /// Waits until the run on the worker is held or has ended. @return whether it must be aborted now.
    bool waitForPlaceOrEnd();

    /// Synchronous mode: waits until a run that was aborted is aborted whole. @pre the run has ended.
    void waitForAbort();

    /// Aborts the run through the manager, and keeps what that throws.
    void abort();

    /// Where it was aborted; its step is the run, such as " in \"Load\"", or empty. No `what` if the place was not
    /// reached.
    Place getPlace() const;

    /// What abort() has kept: empty, or "abortRun() throws: ...".
    std::string getFailure() const;

    /// How many runs have begun, and how often they have asked.
    std::uint64_t getRuns() const;
    std::uint64_t getQuestions() const;

private:
    void runEnds();
    bool isReached(const Place& reached);
    void stop(const Place& reached);

    CommandManager& manager;
    const std::shared_ptr<ThreadManager> threads;
    const std::uint64_t target;
    const bool tellsNames;
    RunProbe* const before;

    mutable std::mutex mutex;
    // Guarded by the mutex.
    std::condition_variable changed;
    std::string name;
    Place place;
    std::string failure;
    std::uint64_t next = 0;
    std::uint64_t runs = 0;
    std::uint64_t questions = 0;
    std::uint64_t questionsOfRun = 0;
    std::uint64_t nextQuestion = 1;
    bool isHeld = false;
    bool isReleased = false;
    bool hasEnded = false;
    bool isPlaceTheEnd = false;

    // Not std::jthread, which libc++ 19 has only as an experiment.
    std::thread aborter;
};

} // namespace Valdane
