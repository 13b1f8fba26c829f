#pragma once

namespace ModelEditor
{

/// Wakes the main thread up when something has happened elsewhere: a run has ended, a key was struck.
///
/// Thread: signal() from any thread and from a signal handler; all else on the main thread.
class WakeUp
{
public:
    /// @throws std::system_error if there are too many open files.
    WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;
    ~WakeUp();

    void signal() const noexcept;

    /// Waits until somebody has called signal() since the last wait, or has done so already.
    void wait() const noexcept;

    /// What can be read while there are signals that nobody has waited for: for poll().
    int getDescriptor() const noexcept;

private:
    int descriptor;
};

} // namespace ModelEditor
