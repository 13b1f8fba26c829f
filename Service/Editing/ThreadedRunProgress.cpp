// How the loop hears of the progress, which is driven on the worker.

#include "Platform/Logging/LogMessage.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/Editing/ThreadedRunPrivate.h"

#include <algorithm>

namespace Valdane
{

std::function<void()>
ThreadedRun::Private::progressCallback(const std::shared_ptr<std::atomic<bool>>& isPosted)
{
    return [posts = relay, weak = weak_from_this(), isPosted]
    {
        const auto tell = [weak, isPosted]
        {
            const bool isUntold = isPosted->exchange(false);
            if (const auto self = weak.lock())
            {
                self->tellProgress(isUntold && self->run != nullptr &&
                                   self->run->isProgressPosted == isPosted);
            }
        };
        if (!isPosted->exchange(true) && !posts->post(tell))
        {
            *isPosted = false;
        }
    };
}

void ThreadedRun::Private::tellProgress(bool isUntold)
{
    const Flag inLoop(isInLoop);
    if (const auto progress = getProgress(); isUntold && progress && !isClosed)
    {
        told->progress(*progress);
    }
    // A post for the end of the run may have failed.
    proceed();
}

/// The loop may see the end of the run before it comes to the function that tells the last progress.
/// @return what a slot throws, which is no failure of the run; null otherwise.
std::exception_ptr ThreadedRun::Private::tellLastProgress()
{
    try
    {
        const bool isUntold = isInLoop && !isClosed && !run->hasFailed && !isAborted() &&
                              run->isProgressPosted->exchange(false);
        if (const auto progress = isUntold ? getProgress() : std::nullopt)
        {
            told->progress(*progress);
        }
    }
    catch (...)
    {
        return std::current_exception();
    }
    return nullptr;
}

std::optional<ThreadedRun::Progress> ThreadedRun::Private::getProgress() const
{
    if (run == nullptr)
    {
        return std::nullopt;
    }
    Progress progress;
    progress.elapsed = std::max(clock() - run->begin, std::chrono::steady_clock::duration::zero());
    if (const LegacyProgress* const source = run->command->getProgressPtr())
    {
        progress.share = source->fraction();
        const auto message = source->getLastMessage();
        progress.message = message == nullptr ? "" : message->getText();
    }
    using Duration = std::chrono::steady_clock::duration;
    const double remaining =
        static_cast<double>(progress.elapsed.count()) * (1 - progress.share) / progress.share;
    if (progress.share > 0 && remaining < static_cast<double>(Duration::max().count()))
    {
        progress.remaining = Duration(static_cast<Duration::rep>(remaining));
    }
    return progress;
}

} // namespace Valdane
