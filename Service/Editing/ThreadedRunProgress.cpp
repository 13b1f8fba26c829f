// How the loop hears of the progress, which is driven on the worker.

#include "Platform/Logging/LogMessage.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/Editing/ThreadedRunPrivate.h"

#include <algorithm>
#include <utility>

namespace Valdane
{

namespace
{

// Templates, because services of the application's own need not have these operations.

template <typename Source>
void setChangeCallback([[maybe_unused]] Source& source,
                       [[maybe_unused]] const std::function<void()>& callback)
{
    if constexpr (requires { source.setChangeCallback(callback); })
    {
        source.setChangeCallback(callback);
    }
}

template <typename Source>
double shareOf([[maybe_unused]] const Source& source)
{
    if constexpr (requires { source.fraction(); })
    {
        return source.fraction();
    }
    else
    {
        return 0;
    }
}

template <typename Source>
std::string messageOf([[maybe_unused]] const Source& source)
{
    if constexpr (requires { source.getLastMessage()->getText(); })
    {
        const auto message = source.getLastMessage();
        return message == nullptr ? "" : message->getText();
    }
    else
    {
        return {};
    }
}

} // namespace

std::function<void()> ThreadedRun::Private::progressCallback(const std::shared_ptr<Shared>& shared)
{
    return [posts = relay, weak = weak_from_this(), shared, heard = std::weak_ptr<const bool>(listening)]
    {
        const auto tell = [weak, shared]
        {
            const bool isUntold = shared->isProgressPosted.exchange(false);
            if (const auto self = weak.lock())
            {
                self->tellProgress(isUntold && self->run != nullptr && self->run->shared == shared);
            }
        };
        const bool isHeard = heard.use_count() > 1;
        if (isHeard && !shared->isProgressPosted.exchange(true) && !posts->post(tell))
        {
            shared->isProgressPosted = false;
        }
    };
}

void ThreadedRun::Private::setProgressCallback(CommandBase& command, const std::function<void()>& callback)
{
    if (const auto progress = command.getProgress())
    {
        setChangeCallback(*progress, callback);
    }
}

Signals::Connection ThreadedRun::Private::connectToProgress(const Signals::Slot<void(const Progress&)>& slot)
{
    const auto alone = std::make_shared<Signals::Signal<void(const Progress&)>>();
    alone->connect(slot).releaseWithoutDisconnect();
    return told->progress.connect([alone, listening = listening](const Progress& progress)
                                  { (*alone)(progress); });
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
                              run->shared->isProgressPosted.exchange(false);
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
        progress.share = shareOf(*source);
        progress.message = messageOf(*source);
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
