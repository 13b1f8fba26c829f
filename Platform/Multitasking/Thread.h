#pragma once

#include "Platform/Multitasking/MultitaskingExport.h"
#include "Platform/Multitasking/Runnable.h"

#include <atomic>
#include <string>

namespace Valdane
{

/// A named run that a ThreadManager carries out: prepareRun(), run(), finishRun(), in this order on one
/// thread.
///
/// The first of the three that throws ends the run; those after it are left out. A run that can be aborted
/// asks isAborted() at every good place to stop and then returns, or is woken up by its own abortRun().
///
/// Neither copied nor moved: a run refers to its object while it goes on.
///
/// Ownership: held by `std::shared_ptr`; the ThreadManager keeps it alive until the run is concluded.
///
/// Thread: getName() and isAborted() from any thread; every virtual operation says where it is called.
class VALDANE_MULTITASKING_EXPORT Thread : public Runnable
{
public:
    /// What an application should block while a run goes on, progress display and abort always excepted.
    enum class BlockingLevel
    {
        None,      ///< nothing: the run works on data of its own.
        Editing,   ///< changes: the run reads shared data, others may read it too.
        Everything ///< all use of the data: the run changes it.
    };

    /// @param name  for people; may be empty.
    /// @throws std::bad_alloc
    explicit Thread(const std::string& name);

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() override;

    /// Told that the run is over, on the caller's thread; by default does nothing.
    ///
    /// The ThreadManager is idle again by then: this may add the next thread, this one again, or destroy the
    /// manager. What it throws reaches the caller of the operation that called it; see ThreadManager.
    ///
    /// @param ok  true when the run came to its end and was not aborted.
    virtual void sendFinishSignal(bool ok);

    /// What the application should block while this runs; by default BlockingLevel::Everything.
    ///
    /// For the application to ask, on the caller's thread; a ThreadManager blocks nothing.
    virtual BlockingLevel blockingLevel() const;

    /// The name given at construction, valid as long as this object.
    const std::string& getName() const;

    /// True from an abort until the thread is added to a ThreadManager again, also after the run.
    bool isAborted() const;

protected:
    /// Called before run() on the same thread; by default does nothing. May throw anything.
    virtual void prepareRun();

    /// Told of every abort, after isAborted() has become true; by default does nothing.
    ///
    /// Runs on the caller's thread, at the same time as the run or before or after it, so what both touch
    /// needs protection. What it throws reaches the caller of ThreadManager::abortThreadExecution().
    virtual void abortRun();

private:
    friend class ThreadManager;

    void clearAborted();
    void abort();
    void runAllSteps();

    std::string threadName;
    std::atomic<bool> abortedState = false;
};

} // namespace Valdane
