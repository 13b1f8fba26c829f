#pragma once

#include "Journal.h"
#include "Platform/Multitasking/Runnable.h"

#include <string>

namespace Valdane
{

class Thread : public Runnable
{
public:
    enum class BlockingLevel
    {
        None,
        Everything
    };

    explicit Thread(const std::string& name) : label(name) {}

    virtual void sendFinishSignal(bool ok)
    {
        note("thread " + label + ".sendFinishSignal(" + (ok ? "true" : "false") + ")");
    }

    virtual BlockingLevel blockingLevel() const
    {
        return BlockingLevel::Everything;
    }

    bool isAborted() const
    {
        return aborted;
    }

    std::string label;
    /// What isAborted() answers.
    bool aborted = false;

protected:
    virtual void prepareRun()
    {
        note("thread " + label + ".prepareRun");
    }

    virtual void abortRun()
    {
        note("thread " + label + ".abortRun");
    }

private:
    friend class ThreadManager;
};

} // namespace Valdane
