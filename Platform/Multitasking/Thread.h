#pragma once

#include "Platform/Multitasking/MultitaskingExport.h"
#include "Platform/Multitasking/Runnable.h"

#include <atomic>
#include <string>

namespace Valdane
{

/// A named run for a ThreadManager, which calls prepareRun(), run() and finishRun(), in this order and on one
/// thread.
///
/// The first of the three that throws ends the run; the rest are not called. To stop early, a run asks
/// isAborted() wherever it can stop, and returns. A run that waits is woken up by its own abortRun().
///
/// Not copyable and not movable, because the manager calls this very object.
///
/// Ownership: held by `std::shared_ptr`; the ThreadManager keeps it alive until the run is finalized.
///
/// Thread: getName() and isAborted() from any thread; every virtual operation says where it is called.
class VALDANE_MULTITASKING_EXPORT Thread : public Runnable
{
public:
    /// What an application should block during a run. Progress display and abort always stay possible.
    enum class BlockingLevel
    {
        None,      ///< Nothing: the run works on its own data.
        Editing,   ///< Changes: the run reads shared data, which others may read too.
        Everything ///< All use of the data: the run changes it.
    };

    /// @param name  for people; may be empty.
    /// @throws std::bad_alloc
    explicit Thread(const std::string& name);

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() override;

    /// Called on the caller's thread when the run is over; by default does nothing.
    ///
    /// The ThreadManager is already idle. So this may add the next thread, add this one again, or destroy
    /// the manager. Exceptions reach the caller of ThreadManager::finalizeThread() or addThread(), which
    /// say when.
    ///
    /// @param ok  true if the run threw nothing and was not aborted.
    virtual void sendFinishSignal(bool ok);

    /// What the application should block while this runs; by default BlockingLevel::Everything.
    ///
    /// The application asks this on the caller's thread; a ThreadManager blocks nothing.
    virtual BlockingLevel blockingLevel() const;

    /// The name given at construction, valid as long as this object.
    const std::string& getName() const;

    /// True from an abort until the thread is added to a ThreadManager again, also after the run.
    bool isAborted() const;

protected:
    /// Called before run() on the same thread; by default does nothing. May throw anything.
    virtual void prepareRun();

    /// Called at every abort, after isAborted() has become true; by default does nothing.
    ///
    /// It is called on the thread that aborts, before, during or after the run. Data that the run uses too
    /// needs a lock. Exceptions reach the caller of ThreadManager::abortThreadExecution(); the manager's
    /// destructor drops them.
    ///
    /// It may finalize the thread. The object lives until this returns.
    virtual void abortRun();

private:
    friend class ThreadManager;

    void clearAborted();
    void abort();
    void runAllSteps();

    std::string valdaneThreadName;
    std::atomic<bool> valdaneAbortedState = false;
};

} // namespace Valdane
