#pragma once

#include "Platform/GeneralServices/GeneralServicesExport.h"
#include "Platform/GeneralServices/Progress.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace Valdane
{

class LogMessage;

/// How far a piece of work is: a position from 0 to FullRange. It follows the progresses attached below it.
///
/// Only reset() and setSubProgress() move the position backwards. Each child has a range of its parent.
/// When a child reports (moveTo(), setComplete()), the parent moves forward to the same place in that
/// range, unless it is further already; then the parent's parent does, and so on. Attaching a child moves
/// neither of them.
///
/// Progress is never a reason for work to fail: ranges are clamped, and a child that is null, or that is this
/// progress or above it, is not attached.
///
/// Ownership: none between parents and children. A destroyed progress is detached from its parent and its
/// children, in any order.
///
/// Thread: one thread at a time changes a tree of progresses, which includes destroying them. Any thread may
/// call progress(), fraction(), getLastMessage() and setChangeCallback().
///
/// Failures: reset(), setComplete(), moveTo() and setSubProgress() throw std::bad_alloc if there is no
/// memory to collect the callbacks. The progress whose callback was next has moved then, the ones
/// above it have not, and no callback is called.
///
/// Cost: small, as every command has one. Construction and attaching allocate nothing; a move allocates
/// only for callbacks. Attaching and detaching take constant time, but attaching a child that has children
/// takes the number of this progress's ancestors. So does a report.
class VALDANE_GENERALSERVICES_EXPORT LegacyProgress : public Progress
{
public:
    /// The position of finished work, an `int`. Each of 100,000 steps, of whatever speeds, moves the position.
    static constexpr int FullRange = 1'000'000'000;

    class Speed;

    /// At position 0, without parent and children.
    LegacyProgress() noexcept;
    LegacyProgress(const LegacyProgress&) = delete;
    LegacyProgress& operator=(const LegacyProgress&) = delete;

    /// Detaches it from its parent and its children, which keep their positions.
    ~LegacyProgress() override;

    /// Goes back to position 0. Children stay attached. The parent follows only if addProgress() said so.
    virtual void reset();

    /// Goes to FullRange and reports it to the ancestors, even if it was there already.
    virtual void setComplete();

    /// Goes forward to @p position and reports it to the ancestors. For work without sub-progresses.
    ///
    /// A position past FullRange counts as FullRange. A position that is not ahead, or is not a number, is
    /// ignored.
    void moveTo(double position);

    /// The position, in [0, FullRange]. Thread: any.
    double progress() const noexcept;

    /// The position as a fraction of FullRange, in [0, 1], for a progress bar. Thread: any.
    double fraction() const noexcept;

    /// Attaches @p sub as a child that has the range from @p from to @p to.
    ///
    /// If it is attached already, here or elsewhere, it is moved. Null is ignored.
    ///
    /// @param sub   the child; not owned.
    /// @param from  this progress's position when the child starts, clamped to [0, FullRange].
    /// @param to    this progress's position when the child is complete, clamped to [@p from, FullRange].
    void appendSubProgress(LegacyProgress* sub, int from, int to);

    /// Starts over with @p sub as the only child.
    ///
    /// Detaches all children, goes back to 0 as reset() does (the virtual function is not called), and
    /// attaches @p sub with the range from 0 to its share. If @p sub is empty, or is not a LegacyProgress,
    /// there is no child afterwards.
    ///
    /// @param sub      the child; not owned.
    /// @param percent  the child's share of the whole, clamped to [0, 100].
    /// @param parts    divides the share; less than 1 counts as 1. (100, 1) is the whole range.
    void setSubProgress(std::shared_ptr<Progress> sub, int percent, int parts);

    /// Makes @p child the only child, with the whole range. The position stays. A child that is empty, or
    /// is not a LegacyProgress, is ignored.
    ///
    /// @param child         the child; not owned.
    /// @param followsReset  true if this progress goes back when the child is reset.
    void addProgress(std::shared_ptr<Progress> child, bool followsReset) override;

    /// Makes @p message the last message of this progress and of all its ancestors.
    ///
    /// @throws std::bad_alloc; this progress and some ancestors may have the message then, and no callback is
    /// called.
    void sendMessage(const LogMessage& message);

    /// The last message sent to this progress, or to one that was below it at the time; empty before the
    /// first. Thread: any.
    std::shared_ptr<const LogMessage> getLastMessage() const;

    /// Sets what is called after each change of this progress's position or last message. It replaces the
    /// callback that was set before; an empty function only removes that one.
    ///
    /// The callback is called on the thread that made the change, outside any lock, when the whole tree is
    /// up to date. Callbacks of children come before those of parents. A callback may do anything: read and
    /// change progresses, set another callback, destroy progresses. If it throws, the remaining callbacks
    /// are not called, and the exception reaches whoever made the change.
    ///
    /// Once the callback is replaced, or its progress is destroyed, no call of it starts. A call that is
    /// running keeps the callback alive until it returns. If another thread replaces the callback, a call
    /// that was about to start may still come.
    ///
    /// Thread: any. @throws std::bad_alloc; nothing has changed then.
    void setChangeCallback(std::function<void()> callback);

private:
    class Changes;
    struct Watch;

    // Not exported: which of them are inlined everywhere depends on the compiler.
    VALDANE_GENERALSERVICES_NO_EXPORT bool isAtOrAbove(const LegacyProgress& other) const noexcept;
    VALDANE_GENERALSERVICES_NO_EXPORT LegacyProgress*
    asAttachable(const std::shared_ptr<Progress>& sub) const noexcept;
    VALDANE_GENERALSERVICES_NO_EXPORT void attach(LegacyProgress& child, int from, int to,
                                                  bool followsReset) noexcept;
    VALDANE_GENERALSERVICES_NO_EXPORT void detach() noexcept;
    VALDANE_GENERALSERVICES_NO_EXPORT void detachChildren() noexcept;
    VALDANE_GENERALSERVICES_NO_EXPORT double positionInParent() const noexcept;
    VALDANE_GENERALSERVICES_NO_EXPORT void place(double newPosition, Changes& changes);
    VALDANE_GENERALSERVICES_NO_EXPORT void report(Changes& changes);
    VALDANE_GENERALSERVICES_NO_EXPORT void restart(Changes& changes);
    VALDANE_GENERALSERVICES_NO_EXPORT void restartParents(Changes& changes);
    VALDANE_GENERALSERVICES_NO_EXPORT Watch& getOrMakeWatch();

    std::atomic<double> valdanePosition{0.0};
    LegacyProgress* valdaneParent = nullptr;
    LegacyProgress* valdaneFirstChild = nullptr;
    LegacyProgress* valdanePreviousSibling = nullptr;
    LegacyProgress* valdaneNextSibling = nullptr;
    // The link to the parent. A bool of its own would make the object 72 bytes; other modules are compiled
    // against 64.
    std::uint32_t valdaneRangeStart = 0;
    std::uint32_t valdaneRangeEnd : 31 = 0;
    std::uint32_t valdaneIsFollowedOnReset : 1 = 0;
    // Owned. Null before the first message and the first callback.
    std::atomic<Watch*> valdaneWatch{nullptr};
};

/// Divides the full range by speed: first add the rate of every member, then ask for the share of each.
///
/// The slower the rate, the larger the share: weight 1 for VeryFast, then 2, 4, 8, and 16 for VerySlow. A
/// rate outside the enumeration counts as the nearest one.
///
/// Thread: one thread at a time for each object.
/// Cost: three numbers, whatever the number of members; exact up to 2^40 members.
class VALDANE_GENERALSERVICES_EXPORT LegacyProgress::Speed
{
public:
    /// How fast a piece of work is.
    enum Rate : int
    {
        VerySlow = 1,
        Slow = 2,
        Normal = 3,
        Fast = 4,
        VeryFast = 5
    };

    /// No members.
    Speed() noexcept = default;

    /// Adds one member of the rate @p rate.
    void add(Rate rate) noexcept;

    /// The mean of the members' rates, rounded to the nearest rate, from half-way to the slower one. Normal
    /// if there are no members.
    Rate getAverageSpeed() const noexcept;

    /// The share of one member of the rate @p rate: FullRange times its weight, divided by the weight of all
    /// members.
    ///
    /// It is rounded down, so the shares of all members sum to at most FullRange. A rate that no member has
    /// gets at most FullRange, too. 0 if there are no members.
    int getPartitionFromRate(Rate rate) const noexcept;

private:
    std::uint64_t valdaneMembers = 0;
    std::uint64_t valdaneSumOfRates = 0;
    std::uint64_t valdaneSumOfWeights = 0;
};

} // namespace Valdane
