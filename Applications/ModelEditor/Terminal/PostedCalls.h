#pragma once

#include <deque>
#include <functional>
#include <mutex>

namespace ModelEditor
{

class WakeUp;

/// Functions that wait to be called on the main thread.
///
/// Ownership: refers to what is woken, which must live longer.
/// Thread: post() from any thread; all else on the main thread.
class PostedCalls
{
public:
    explicit PostedCalls(const WakeUp& woken);
    PostedCalls(const PostedCalls&) = delete;
    PostedCalls& operator=(const PostedCalls&) = delete;

    /// Puts @p call behind the others, and wakes the main thread up.
    void post(std::function<void()> call);

    /// Calls the oldest one, if there is any. Wakes up again for the next one. @throws what it throws.
    void callOne();

private:
    const WakeUp& wakeUp;
    std::mutex mutex;
    std::deque<std::function<void()>> calls;
};

} // namespace ModelEditor
