#include "Platform/GeneralServices/LegacyProgress.h"

#include "Platform/Logging/LogMessage.h"

#include <algorithm>
#include <mutex>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Valdane
{

namespace
{

using Callback = std::function<void()>;

// Held by the watch alone, and so gone when the callback is replaced or its progress destroyed. The callback inside may
// still be running then, and is held by who runs it.
using Registration = std::shared_ptr<const Callback>;

// One of the rates there are.
int nearest(int rate) noexcept
{
    return std::clamp<int>(rate, LegacyProgress::Speed::VerySlow, LegacyProgress::Speed::VeryFast);
}

std::uint64_t weightOf(int rate) noexcept
{
    return std::uint64_t{1} << (LegacyProgress::Speed::VeryFast - nearest(rate));
}

} // namespace

struct LegacyProgress::Watch
{
    std::mutex mutex;
    std::shared_ptr<const LogMessage> message;
    std::shared_ptr<const Registration> registration;
};

// Whom to tell of a change. It holds no progress, so that a callback may destroy any of them, and no callback
// that has been replaced in the meantime.
class LegacyProgress::Changes
{
public:
    void add(const LegacyProgress& changed)
    {
        if (auto* record = changed.watch.load(std::memory_order_acquire))
        {
            const std::lock_guard lock(record->mutex);
            if (record->registration)
            {
                registrations.emplace_back(record->registration);
            }
        }
    }

    void tell() const
    {
        if (!registrations.empty())
        {
            tellAll();
        }
    }

private:
    void tellAll() const
    {
        for (const auto& listed : registrations)
        {
            if (const auto callback = callbackOf(listed))
            {
                (*callback)();
            }
        }
    }

    static std::shared_ptr<const Callback> callbackOf(const std::weak_ptr<const Registration>& listed)
    {
        const auto registration = listed.lock();
        return registration ? *registration : nullptr;
    }

    std::vector<std::weak_ptr<const Registration>> registrations;
};

// These are needed for each undo and redo, hence inline and before their uses.

// Without children it is above nothing: macros attach many leaves under a deep tree.
inline bool LegacyProgress::isAtOrAbove(const LegacyProgress& other) const noexcept
{
    const auto* candidate = &other;
    while (firstChild != nullptr && candidate != nullptr && candidate != this)
    {
        candidate = candidate->parent;
    }
    return candidate == this;
}

inline LegacyProgress* LegacyProgress::asAttachable(const std::shared_ptr<Progress>& sub) const noexcept
{
    Progress* const candidate = sub.get();
    // Most are of this very class, which is quicker to see than a derived one.
    auto* child = candidate != nullptr && typeid(*candidate) == typeid(LegacyProgress)
                      ? static_cast<LegacyProgress*>(candidate)
                      : dynamic_cast<LegacyProgress*>(candidate);
    return child == nullptr || child->isAtOrAbove(*this) ? nullptr : child;
}

inline void LegacyProgress::detach() noexcept
{
    if (nextSibling != nullptr)
    {
        nextSibling->previousSibling = previousSibling;
    }
    if (previousSibling != nullptr)
    {
        previousSibling->nextSibling = nextSibling;
    }
    else if (parent != nullptr)
    {
        parent->firstChild = nextSibling;
    }
    parent = previousSibling = nextSibling = nullptr;
}

inline void LegacyProgress::detachChildren() noexcept
{
    while (firstChild != nullptr)
    {
        firstChild->detach();
    }
}

inline void LegacyProgress::attach(LegacyProgress& child, int from, int to, bool followsReset) noexcept
{
    child.detach();
    child.parent = this;
    child.nextSibling = std::exchange(firstChild, &child);
    if (child.nextSibling != nullptr)
    {
        child.nextSibling->previousSibling = &child;
    }
    child.rangeStart = static_cast<std::uint32_t>(from);
    child.rangeEnd = static_cast<std::uint32_t>(to) & 0x7fff'ffffU;
    child.isFollowedOnReset = followsReset ? 1 : 0;
}

inline void LegacyProgress::place(double newPosition, Changes& changes)
{
    if (newPosition != progress())
    {
        position.store(newPosition, std::memory_order_relaxed);
        changes.add(*this);
    }
}

inline void LegacyProgress::restart(Changes& changes)
{
    place(0.0, changes);
    if (parent != nullptr && isFollowedOnReset == 1)
    {
        restartParents(changes);
    }
}

void LegacyProgress::restartParents(Changes& changes)
{
    for (auto* child = this; child->parent != nullptr && child->isFollowedOnReset == 1; child = child->parent)
    {
        child->parent->place(child->positionInParent(), changes);
    }
}

// For users who take its address: on Windows only what is defined here is exported.
constexpr int LegacyProgress::FullRange;

LegacyProgress::LegacyProgress() noexcept = default;

LegacyProgress::~LegacyProgress()
{
    detach();
    detachChildren();
    delete watch.load(std::memory_order_acquire);
}

void LegacyProgress::reset()
{
    Changes changes;
    restart(changes);
    changes.tell();
}

void LegacyProgress::setComplete()
{
    Changes changes;
    place(FullRange, changes);
    report(changes);
    changes.tell();
}

void LegacyProgress::moveTo(double newPosition)
{
    if (newPosition > progress())
    {
        Changes changes;
        place(std::min<double>(newPosition, FullRange), changes);
        report(changes);
        changes.tell();
    }
}

double LegacyProgress::progress() const noexcept
{
    return position.load(std::memory_order_relaxed);
}

double LegacyProgress::fraction() const noexcept
{
    return progress() / FullRange;
}

void LegacyProgress::appendSubProgress(LegacyProgress* sub, int from, int to)
{
    if (sub != nullptr && !sub->isAtOrAbove(*this))
    {
        const int start = std::clamp(from, 0, FullRange);
        attach(*sub, start, std::clamp(to, start, FullRange), false);
    }
}

void LegacyProgress::setSubProgress(std::shared_ptr<Progress> sub, int percent, int parts)
{
    auto* child = asAttachable(sub);
    detachChildren();
    Changes changes;
    restart(changes);
    if (child != nullptr)
    {
        const auto share = std::int64_t{FullRange} * std::clamp(percent, 0, 100) / 100 / std::max(parts, 1);
        attach(*child, 0, static_cast<int>(share), false);
    }
    changes.tell();
}

void LegacyProgress::addProgress(std::shared_ptr<Progress> child, bool followsReset)
{
    if (auto* attachable = asAttachable(child))
    {
        detachChildren();
        attach(*attachable, 0, FullRange, followsReset);
    }
}

void LegacyProgress::sendMessage(const LogMessage& message)
{
    auto shared = std::make_shared<const LogMessage>(message);
    Changes changes;
    for (auto* receiver = this; receiver != nullptr; receiver = receiver->parent)
    {
        auto& record = receiver->getOrMakeWatch();
        {
            const std::lock_guard lock(record.mutex);
            record.message = shared;
        }
        changes.add(*receiver);
    }
    changes.tell();
}

std::shared_ptr<const LogMessage> LegacyProgress::getLastMessage() const
{
    auto* record = watch.load(std::memory_order_acquire);
    if (record == nullptr)
    {
        return nullptr;
    }
    const std::lock_guard lock(record->mutex);
    return record->message;
}

void LegacyProgress::setChangeCallback(std::function<void()> callback)
{
    std::shared_ptr<const Registration> registration;
    if (callback)
    {
        registration =
            std::make_shared<const Registration>(std::make_shared<const Callback>(std::move(callback)));
    }
    auto& record = getOrMakeWatch();
    // What is exchanged dies after the lock: the destructor of a callback may do anything.
    const std::lock_guard lock(record.mutex);
    record.registration.swap(registration);
}

// Exact at both ends, also where the range is narrow.
double LegacyProgress::positionInParent() const noexcept
{
    return rangeStart + (static_cast<double>(rangeEnd - rangeStart) * fraction());
}

// Everybody above follows, also past a progress that does not move: the one above it may have started anew.
void LegacyProgress::report(Changes& changes)
{
    for (auto* child = this; child->parent != nullptr; child = child->parent)
    {
        child->parent->place(std::max(child->parent->progress(), child->positionInParent()), changes);
    }
}

LegacyProgress::Watch& LegacyProgress::getOrMakeWatch()
{
    auto* present = watch.load(std::memory_order_acquire);
    if (present != nullptr)
    {
        return *present;
    }
    auto made = std::make_unique<Watch>();
    if (watch.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel,
                                      std::memory_order_acquire))
    {
        present = made.release();
    }
    return *present;
}

void LegacyProgress::Speed::add(Rate rate) noexcept
{
    ++members;
    sumOfRates += static_cast<std::uint64_t>(nearest(rate));
    sumOfWeights += weightOf(rate);
}

LegacyProgress::Speed::Rate LegacyProgress::Speed::getAverageSpeed() const noexcept
{
    // (2 sum - members) / (2 members), rounded up: the mean, rounded with halves going down to the slower
    // rate.
    return members == 0 ? Normal : static_cast<Rate>((2 * sumOfRates + members - 1) / (2 * members));
}

int LegacyProgress::Speed::getPartitionFromRate(Rate rate) const noexcept
{
    const std::uint64_t full = FullRange;
    return members == 0 ? 0 : static_cast<int>(std::min(full, (full * weightOf(rate)) / sumOfWeights));
}

} // namespace Valdane
