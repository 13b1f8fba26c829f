#pragma once

#include <csignal>

namespace ModelEditor
{

class WakeUp;

/// While it lives, Ctrl-C does not end the program: it is remembered, and the main thread is woken up.
///
/// Ownership: refers to the wake-up, which must live longer. Thread: the main thread; one at a time.
class InterruptKey
{
public:
    explicit InterruptKey(const WakeUp& wakeUp);
    InterruptKey(const InterruptKey&) = delete;
    InterruptKey& operator=(const InterruptKey&) = delete;
    ~InterruptKey();

    /// Whether it was struck since this was asked last.
    static bool takeStroke() noexcept;

private:
    struct sigaction previous
    {
    };
};

} // namespace ModelEditor
