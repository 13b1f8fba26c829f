#pragma once

#include <csignal>

namespace Valdane
{

/// While it lives, the thread that made it, and each one that it starts, hear no signals. Those of a fault of the thread itself
/// stay: who reports crashes must hear them.
///
/// For a thread that the application knows nothing of: its handlers, those of a line editor for example, count on its own
/// threads. On Windows it does nothing, where there are no such signals.
class BlockedSignals
{
public:
#ifdef _WIN32
    BlockedSignals() noexcept {}
#else
    BlockedSignals() noexcept
    {
        sigset_t blocked{};
        sigfillset(&blocked);
        for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP})
        {
            sigdelset(&blocked, fault);
        }
        pthread_sigmask(SIG_BLOCK, &blocked, &before);
    }

    ~BlockedSignals()
    {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
#endif
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
#ifndef _WIN32
    sigset_t before{};
#endif
};

} // namespace Valdane
