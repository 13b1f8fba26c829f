#include "Applications/ModelEditor/Terminal/InterruptKey.h"

#include "Applications/ModelEditor/Terminal/WakeUp.h"

#include <atomic>

namespace ModelEditor
{

namespace
{

// A signal handler knows nothing but what lasts.
std::atomic<const WakeUp*> woken = nullptr;
std::atomic<bool> isStruck = false;
static_assert(std::atomic<const WakeUp*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void onInterrupt(int /*signal*/)
{
    isStruck = true;
    if (const WakeUp* const wakeUp = woken)
    {
        wakeUp->signal();
    }
}

} // namespace

InterruptKey::InterruptKey(const WakeUp& wakeUpToSignal) : wakeUp(wakeUpToSignal)
{
    woken = &wakeUp;
    isStruck = false;

    struct sigaction action
    {
    };

    action.sa_handler = &onInterrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, &previous);
}

InterruptKey::~InterruptKey()
{
    sigaction(SIGINT, &previous, nullptr);
    woken = nullptr;
}

bool InterruptKey::takeStroke() noexcept
{
    return isStruck.exchange(false);
}

bool InterruptKey::isAsked() const noexcept
{
    return isStruck;
}

int InterruptKey::getDescriptor() const noexcept
{
    return wakeUp.getDescriptor();
}

} // namespace ModelEditor
