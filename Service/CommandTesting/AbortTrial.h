#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/CommandTesting/AbortProbe.h"
#include "Service/CommandTesting/CommandSubject.h"
#include "Service/CommandTesting/Place.h"
#include "Service/CommandTesting/Snapshot.h"
#include "Service/CommandTesting/Trial.h"

#include <cstdint>
#include <string>

namespace Valdane
{

/// One run of a threaded command, or of a macro with threads, that is aborted at one place.
class AbortTrial
{
public:
    /// Where threads run.
    enum class Mode
    {
        Synchronous,
        OnWorker,
    };

    /// "on a worker" or "in synchronous mode".
    static std::string nameOf(Mode mode);

    /// @param place  the number of an AbortProbe's place. @throws Mistake
    AbortTrial(const CommandSubject& subject, const CommandSubject::Maker& make, Mode threadingMode,
               std::uint64_t place);

    /// Runs the command to its end, or to its abort.
    void run();

    /// @throws Mistake if the run has failed, runs no thread, or has changed nothing and @p changesNothing is false.
    void expectDone(bool changesNothing) const;

    /// @throws Mistake if the abort has left something behind.
    void expectAborted();

    /// Whether any thread has run.
    bool hasRun() const;

    /// Whether any run has asked isAborted().
    bool isAsking() const;

    /// Where it was aborted; no `what` if the run has no such place.
    Place getPlace() const;

private:
    bool isMacro() const;
    void start();
    void finish();
    void expectNothingThrown() const;
    void expectNothingToUndo();

    Trial trial;
    Mode mode;
    std::string failure;
    std::string thrown;
    Signals::Connection failed;
    AbortProbe probe;
    Snapshot before;
};

} // namespace Valdane
