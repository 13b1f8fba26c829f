#include "Applications/ModelEditor/Document/EndingSignals.h"

#include <atomic>
#include <climits>
#include <cstddef>
#include <unistd.h>

namespace ModelEditor
{

namespace
{

// A signal handler knows nothing but what lasts.
std::array<char, PATH_MAX> doomed{};
std::atomic<int> pendingSignal = 0;
static_assert(std::atomic<int>::is_always_lock_free);

// The signal is blocked until this returns, and then does what it does by default.
void removeAndEnd(int signal)
{
    ::unlink(doomed.data());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void remember(int signal)
{
    pendingSignal = signal;
}

} // namespace

// A name that does not fit is no name of a file.
EndingSignals::EndingSignals(const std::string& temporary)
{
    doomed.fill('\0');
    temporary.copy(doomed.data(), doomed.size() - 1);
    takeOver(&removeAndEnd);
}

EndingSignals::EndingSignals()
{
    pendingSignal = 0;
    takeOver(&remember);
}

EndingSignals::~EndingSignals()
{
    for (std::size_t i = 0; i < signals.size(); ++i)
    {
        if (isTaken[i])
        {
            std::signal(signals[i], SIG_DFL);
        }
    }
    if (const int signal = pendingSignal.exchange(0))
    {
        std::raise(signal);
    }
}

void EndingSignals::takeOver(void (*handler)(int))
{
    for (std::size_t i = 0; i < signals.size(); ++i)
    {
        struct sigaction present = {};
        isTaken[i] = sigaction(signals[i], nullptr, &present) == 0 && present.sa_handler == SIG_DFL;
        if (isTaken[i])
        {
            present.sa_handler = handler;
            present.sa_flags = SA_RESTART;
            sigaction(signals[i], &present, nullptr);
        }
    }
}

} // namespace ModelEditor
