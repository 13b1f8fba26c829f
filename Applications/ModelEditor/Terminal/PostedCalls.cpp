#include "Applications/ModelEditor/Terminal/PostedCalls.h"

#include "Applications/ModelEditor/Terminal/WakeUp.h"

#include <utility>

namespace ModelEditor
{

PostedCalls::PostedCalls(const WakeUp& wakeUpToSignal) : wakeUp(wakeUpToSignal) {}

void PostedCalls::post(std::function<void()> call)
{
    const std::scoped_lock lock(mutex);
    calls.push_back(std::move(call));
    wakeUp.signal();
}

void PostedCalls::callOne()
{
    std::function<void()> call;
    {
        const std::scoped_lock lock(mutex);
        if (calls.empty())
        {
            return;
        }
        call = std::move(calls.front());
        calls.pop_front();
        if (!calls.empty())
        {
            wakeUp.signal();
        }
    }
    call();
}

} // namespace ModelEditor
