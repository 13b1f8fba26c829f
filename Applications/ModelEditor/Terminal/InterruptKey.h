#pragma once

#include "Applications/ModelEditor/Document/Interruption.h"

#include <csignal>

namespace ModelEditor
{

class WakeUp;

/// While it lives, Ctrl-C does not end the program: it is remembered, and the main thread is woken up.
///
/// Ownership: refers to the wake-up, which must live longer. Thread: the main thread; one at a time.
class InterruptKey : public Interruption
{
public:
    explicit InterruptKey(const WakeUp& wakeUpToSignal);
    ~InterruptKey() override;

    /// Whether it was struck since this was asked last.
    static bool takeStroke() noexcept;

    /// Whether it was struck, and nobody has taken that.
    bool isAsked() const noexcept override;

    int getDescriptor() const noexcept override;

private:
    const WakeUp& wakeUp;

    struct sigaction previous
    {
    };
};

} // namespace ModelEditor
