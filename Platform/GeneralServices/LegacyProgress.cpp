// A progress is a node of a tree: a position, links to its neighbours, and the range of its parent that it
// drives. It owns none of them, and its destructor unlinks it.
//
// An operation that changes positions works in two steps. First it moves this progress and the ones above
// it, and collects the callbacks of those that have changed. Then it calls them. A callback therefore sees
// the final state, and may do anything: after the first call the operation touches no progress.
//
// Every command has a progress, but few have a listener or a message. These are kept in a Watch, which the
// first setChangeCallback() or sendMessage() makes. Any thread may be the one that makes it, so the pointer
// is atomic.

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

// Only the watch owns a registration. It is destroyed when the callback is replaced or its progress is
// destroyed. A callback that is running then lives on: call() shares it.
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

// A block of its own: inside each progress it would add 64 bytes to the 256.6 of a command in the queue, a
// quarter.
struct LegacyProgress::Watch
{
    std::mutex mutex;
    std::shared_ptr<const LogMessage> message;
    std::shared_ptr<const Registration> registration;
};

// Whom to tell of a change. It refers to no progress, and keeps no callback alive, so that a callback may
// destroy or replace any of them.
class VALDANE_GENERALSERVICES_NO_EXPORT LegacyProgress::Changes
{
public:
    void add(const LegacyProgress& changed)
    {
        if (auto* record = changed.valdaneWatch.load(std::memory_order_acquire))
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
        for (const auto& listed : registrations)
        {
            call(listed);
        }
    }

private:
    static void call(const std::weak_ptr<const Registration>& listed);

    std::vector<std::weak_ptr<const Registration>> registrations;
};

void LegacyProgress::Changes::call(const std::weak_ptr<const Registration>& listed)
{
    std::shared_ptr<const Callback> callback;
    if (const auto registration = listed.lock())
    {
        callback = *registration;
    }
    if (callback)
    {
        (*callback)();
    }
}

// The inline functions below are called in every undo and redo. Inline and before their uses they save 21
// of 457 instructions of an undo.

// A progress without children is above nothing. So attaching it takes constant time, however deep the tree
// is.
inline bool LegacyProgress::isAtOrAbove(const LegacyProgress& other) const noexcept
{
    const auto* candidate = &other;
    while (valdaneFirstChild != nullptr && candidate != nullptr && candidate != this)
    {
        candidate = candidate->valdaneParent;
    }
    return candidate == this;
}

inline LegacyProgress* LegacyProgress::asAttachable(const std::shared_ptr<Progress>& sub) const noexcept
{
    Progress* const candidate = sub.get();
    // Most are of this very class. Comparing types first saves 18 % of the time of an undo, against a cast
    // alone.
    auto* child = candidate != nullptr && typeid(*candidate) == typeid(LegacyProgress)
                      ? static_cast<LegacyProgress*>(candidate)
                      : dynamic_cast<LegacyProgress*>(candidate);
    return child == nullptr || child->isAtOrAbove(*this) ? nullptr : child;
}

inline void LegacyProgress::detach() noexcept
{
    if (valdaneParent == nullptr)
    {
        return;
    }
    if (valdaneNextSibling != nullptr)
    {
        valdaneNextSibling->valdanePreviousSibling = valdanePreviousSibling;
    }
    if (valdanePreviousSibling != nullptr)
    {
        valdanePreviousSibling->valdaneNextSibling = valdaneNextSibling;
    }
    else
    {
        valdaneParent->valdaneFirstChild = valdaneNextSibling;
    }
    valdaneParent = valdanePreviousSibling = valdaneNextSibling = nullptr;
}

inline void LegacyProgress::detachChildren() noexcept
{
    while (valdaneFirstChild != nullptr)
    {
        valdaneFirstChild->detach();
    }
}

inline void LegacyProgress::attach(LegacyProgress& child, int from, int to, bool followsReset) noexcept
{
    child.detach();
    child.valdaneParent = this;
    child.valdaneNextSibling = std::exchange(valdaneFirstChild, &child);
    if (child.valdaneNextSibling != nullptr)
    {
        child.valdaneNextSibling->valdanePreviousSibling = &child;
    }
    child.valdaneRangeStart = static_cast<std::uint32_t>(from);
    child.valdaneRangeEnd = static_cast<std::uint32_t>(to) & 0x7fff'ffffU;
    child.valdaneIsFollowedOnReset = followsReset ? 1 : 0;
}

inline void LegacyProgress::place(double newPosition, Changes& changes)
{
    if (newPosition != progress())
    {
        valdanePosition.store(newPosition, std::memory_order_relaxed);
        changes.add(*this);
    }
}

inline void LegacyProgress::restart(Changes& changes)
{
    place(0.0, changes);
    if (valdaneParent != nullptr && valdaneIsFollowedOnReset == 1)
    {
        restartParents(changes);
    }
}

void LegacyProgress::restartParents(Changes& changes)
{
    for (auto* child = this; child->valdaneParent != nullptr && child->valdaneIsFollowedOnReset == 1;
         child = child->valdaneParent)
    {
        child->valdaneParent->place(child->positionInParent(), changes);
    }
}

// For users who take its address: on Windows only what is defined here is exported.
constexpr int LegacyProgress::FullRange; // NOLINT(readability-redundant-declaration)

LegacyProgress::LegacyProgress() noexcept = default;

LegacyProgress::~LegacyProgress()
{
    detach();
    detachChildren();
    delete valdaneWatch.load(std::memory_order_acquire);
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
    return valdanePosition.load(std::memory_order_relaxed);
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
    for (auto* receiver = this; receiver != nullptr; receiver = receiver->valdaneParent)
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
    auto* record = valdaneWatch.load(std::memory_order_acquire);
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
    // The old callback is destroyed after the unlock: its destructor may do anything.
    const std::lock_guard lock(record.mutex);
    record.registration.swap(registration);
}

// Exact at both ends, even if the range is narrow.
double LegacyProgress::positionInParent() const noexcept
{
    return valdaneRangeStart + (static_cast<double>(valdaneRangeEnd - valdaneRangeStart) * fraction());
}

// All ancestors follow. The loop does not stop at one that stays: the one above it may have been reset.
void LegacyProgress::report(Changes& changes)
{
    for (auto* child = this; child->valdaneParent != nullptr; child = child->valdaneParent)
    {
        child->valdaneParent->place(std::max(child->valdaneParent->progress(), child->positionInParent()),
                                    changes);
    }
}

LegacyProgress::Watch& LegacyProgress::getOrMakeWatch()
{
    auto* present = valdaneWatch.load(std::memory_order_acquire);
    if (present != nullptr)
    {
        return *present;
    }
    auto made = std::make_unique<Watch>();
    if (valdaneWatch.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel,
                                             std::memory_order_acquire))
    {
        present = made.release();
    }
    return *present;
}

void LegacyProgress::Speed::add(Rate rate) noexcept
{
    ++valdaneMembers;
    valdaneSumOfRates += static_cast<std::uint64_t>(nearest(rate));
    valdaneSumOfWeights += weightOf(rate);
}

LegacyProgress::Speed::Rate LegacyProgress::Speed::getAverageSpeed() const noexcept
{
    // (2 sum - members) / (2 members), rounded up: the mean, rounded with halves going down to the slower
    // rate.
    return valdaneMembers == 0
               ? Normal
               : static_cast<Rate>((2 * valdaneSumOfRates + valdaneMembers - 1) / (2 * valdaneMembers));
}

int LegacyProgress::Speed::getPartitionFromRate(Rate rate) const noexcept
{
    const std::uint64_t full = FullRange;
    return valdaneMembers == 0
               ? 0
               : static_cast<int>(std::min(full, (full * weightOf(rate)) / valdaneSumOfWeights));
}

} // namespace Valdane
