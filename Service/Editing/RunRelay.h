#pragma once

#include <functional>
#include <memory>
#include <mutex>

namespace Valdane
{

/// The event loop, as long as there is somebody to call back.
///
/// Thread: any.
class RunRelay
{
public:
    /// Runs a function on the manager's thread, later.
    using Post = std::function<void(std::function<void()>)>;

    explicit RunRelay(Post post);

    /// Posts @p work, unless it was closed. @return false if the loop did not take it.
    template <typename Work>
    bool post(const Work& work) noexcept
    {
        try
        {
            return take(work);
        }
        catch (...)
        {
            return false;
        }
    }

    /// From here on nothing is posted.
    void close() noexcept;

private:
    bool take(std::function<void()> work);

    std::mutex mutex;
    std::shared_ptr<const Post> target;
};

} // namespace Valdane
