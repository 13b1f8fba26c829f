#pragma once

#include "Platform/Multitasking/Runnable.h"

#include <atomic>
#include <string>

namespace Valdane
{

/// Work for the application's worker: prepareRun(), run(), finishRun(), up to the first that throws.
///
/// Thread: the worker for these three, the caller's thread for the rest; isAborted() from both.
class Thread : public Runnable
{
public:
    /// What users may not do meanwhile. This application blocks all or nothing.
    enum class BlockingLevel
    {
        None,
        Everything,
    };

    /// Threads have no names in this application.
    explicit Thread(const std::string& /*name*/) {}

    /// The run is over. @param ok  it came to its end and was not aborted.
    virtual void sendFinishSignal(bool /*ok*/) {}

    virtual BlockingLevel blockingLevel() const
    {
        return BlockingLevel::Everything;
    }

    /// The run should end early. True from an abort until the thread is added again.
    bool isAborted() const
    {
        return aborted;
    }

protected:
    virtual void prepareRun() {}

    /// Called on an abort, while the run is running.
    virtual void abortRun() {}

private:
    friend class ThreadManager;

    std::atomic<bool> aborted = false;
};

} // namespace Valdane
