#pragma once

#include "Platform/Multitasking/MultitaskingExport.h"

#include <atomic>

namespace Valdane
{

class Thread;

/// Told where the runs of all ThreadManager objects are, so that a test can abort one at a place that it chooses.
///
/// A probe that waits holds the run up. One that waits for an abort is released by abortWasSet() at the latest:
/// an abortRun() may need a lock that the run holds where it asks.
///
/// What runBegins() and abortIsAsked() throw counts as thrown by the run.
///
/// Ownership: the caller of install() keeps the probe until another one is installed.
/// Thread: every operation says where it is called.
/// Cost: if none is installed, one relaxed load of a pointer at each of these places.
class VALDANE_MULTITASKING_EXPORT RunProbe
{
public:
    RunProbe(const RunProbe&) = delete;
    RunProbe& operator=(const RunProbe&) = delete;
    virtual ~RunProbe();

    /// Called on the thread of the run, before Thread::prepareRun().
    virtual void runBegins(const Thread& thread) = 0;

    /// Called when the run of @p thread asks its own Thread::isAborted() on its own thread, before the answer.
    /// What the probe asks meanwhile is not told.
    virtual void abortIsAsked(const Thread& thread) = 0;

    /// Called on the thread that aborts, between the moment when Thread::isAborted() is true and
    /// Thread::abortRun(). What it throws goes the way of what abortRun() throws, which is not called then.
    virtual void abortWasSet(const Thread& thread) = 0;

    /// Installs @p probe for the whole program, in place of the one before; empty: none.
    ///
    /// @pre no run is running (not checked).
    /// @return the probe that was installed before; empty if there was none.
    static RunProbe* install(RunProbe* probe) noexcept;

protected:
    RunProbe();

private:
    friend class Thread;

    VALDANE_MULTITASKING_NO_EXPORT static std::atomic<RunProbe*> installed;
};

} // namespace Valdane
