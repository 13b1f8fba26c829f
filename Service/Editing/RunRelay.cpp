#include "Service/Editing/RunRelay.h"

#include <utility>

namespace Valdane
{

RunRelay::RunRelay(Post post) : target(std::make_shared<const Post>(std::move(post))) {}

bool RunRelay::take(std::function<void()> work)
{
    std::shared_ptr<const Post> loop;
    {
        const std::scoped_lock lock(mutex);
        loop = target;
    }
    if (loop != nullptr)
    {
        (*loop)(std::move(work));
    }
    return loop != nullptr;
}

void RunRelay::close() noexcept
{
    std::shared_ptr<const Post> closed;
    const std::scoped_lock lock(mutex);
    closed.swap(target);
}

} // namespace Valdane
