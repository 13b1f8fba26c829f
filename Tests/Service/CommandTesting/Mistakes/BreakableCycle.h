#pragma once

namespace Valdane::Plants
{

/// What is part of a cycle of shared pointers by mistake. The test breaks it when the mistake is found, so that
/// the program has no leak. Allocates nothing.
///
/// Thread: one thread at a time.
class BreakableCycle
{
public:
    BreakableCycle() noexcept;
    BreakableCycle(const BreakableCycle&) = delete;
    BreakableCycle& operator=(const BreakableCycle&) = delete;
    virtual ~BreakableCycle();

    /// Breaks every cycle that there is.
    static void breakAll() noexcept;

protected:
    /// Lets go of what it shares. This object may be destroyed by it.
    virtual void breakUp() noexcept = 0;

private:
    void leaveList() noexcept;

    static BreakableCycle* first;

    BreakableCycle* previousInList = nullptr;
    BreakableCycle* nextInList = nullptr;
};

} // namespace Valdane::Plants
