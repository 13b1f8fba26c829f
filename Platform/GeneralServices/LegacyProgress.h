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

/// How far a piece of work has come: a position from 0 to FullRange that follows the progresses hung under
/// it.
///
/// The position never runs backwards except by reset() (and setSubProgress(), which starts anew). Each child
/// owns a range of its parent. Whenever a child reports (moveTo(), setComplete()), its parent moves to the
/// place in that range that the child has reached, unless it is further already, then the parent's parent,
/// and so on. Hanging a child under a parent moves neither of them.
///
/// Progress is never a reason for work to fail: ranges are clamped, and a child that is missing, or that has
/// this progress below it (or is it), is not attached.
///
/// Ownership: none between parents and children. A child that is destroyed leaves its parent, a parent that
/// is destroyed leaves its children, in any order. Thread: one thread at a time drives a tree of progresses
/// (everything that changes it, destruction included). Any thread may call progress(), fraction(),
/// getLastMessage() and setChangeCallback(). Failures: reset(), setComplete(), moveTo() and setSubProgress()
/// throw std::bad_alloc where a progress with a callback moves; that one has moved then, the ones above it
/// have not, and nobody is told. Cost: small, as every command has one. Construction, attaching and moving
/// allocate nothing, attaching and detaching take constant time (attaching a child that has children: the
/// number of this progress's ancestors), and a report takes the number of ancestors.
class VALDANE_GENERALSERVICES_EXPORT LegacyProgress : public Progress
{
public:
    /// The position of finished work: fine enough for 100,000 steps of any speeds to move it one by one, and
    /// an `int`.
    static constexpr int FullRange = 1'000'000'000;

    class Speed;

    /// At position 0, alone.
    LegacyProgress() noexcept;
    LegacyProgress(const LegacyProgress&) = delete;
    LegacyProgress& operator=(const LegacyProgress&) = delete;

    /// Leaves its parent and its children, which keep their positions.
    ~LegacyProgress() override;

    /// Goes back to position 0. Children stay attached; the parent follows only where the link says so
    /// (addProgress()).
    virtual void reset();

    /// Goes to FullRange and reports that to the parents, also when it was there already.
    virtual void setComplete();

    /// Goes forward to @p position, for work that has no parts, and reports it to the parents.
    ///
    /// A position past FullRange is FullRange; one that is not ahead of the present one, or is no number, is
    /// ignored.
    void moveTo(double position);

    /// The position, in [0, FullRange]. Thread: any.
    double progress() const noexcept;

    /// The position as a part of the whole, in [0, 1], for a progress bar. Thread: any.
    double fraction() const noexcept;

    /// Hangs @p sub under this progress, where it drives the range from @p from to @p to.
    ///
    /// A sub that hangs elsewhere, or here with another range, is moved. Null is ignored.
    ///
    /// @param sub   the child; not owned.
    /// @param from  this progress's position when the child starts, clamped to [0, FullRange].
    /// @param to    this progress's position when the child is complete, clamped to [@p from, FullRange].
    void appendSubProgress(LegacyProgress* sub, int from, int to);

    /// Starts anew with @p sub as the only child: other children are detached, the position goes back to 0 as
    /// by reset() (the virtual function is not called), and @p sub drives the range from 0 to its share.
    ///
    /// Where @p sub is empty or no LegacyProgress, there is no child afterwards.
    ///
    /// @param sub      the child; not owned.
    /// @param percent  the child's share of the whole, clamped to [0, 100].
    /// @param parts    how many such children the share is for; less than 1 is 1. (100, 1) is the whole
    /// range.
    void setSubProgress(std::shared_ptr<Progress> sub, int percent, int parts);

    /// Makes @p child the only child, with the whole range. The position stays. A child that is empty or no
    /// LegacyProgress is ignored.
    ///
    /// @param child         the child; not owned.
    /// @param followsReset  whether this progress goes back with the child's resets.
    void addProgress(std::shared_ptr<Progress> child, bool followsReset) override;

    /// Makes @p message the last message of this progress and of all its ancestors.
    ///
    /// @throws std::bad_alloc; some ancestors may have the message then.
    void sendMessage(const LogMessage& message);

    /// The last message sent to this progress or to one that was below it then; empty before the first.
    /// Thread: any.
    std::shared_ptr<const LogMessage> getLastMessage() const;

    /// Has @p callback called after every change of this progress's position or last message, in place of the
    /// callback set before; an empty function ends it.
    ///
    /// The callback runs on the driving thread, outside any lock, when the whole tree is up to date; children
    /// are told before parents. It may do anything: read, drive, set another callback, destroy progresses.
    /// What it throws reaches the driving thread in place of the remaining callbacks. Once the callback was
    /// replaced, or its progress destroyed, no new call of it starts; where another thread does that, a call
    /// under way may still be running.
    ///
    /// Thread: any. @throws std::bad_alloc, nothing being changed.
    void setChangeCallback(std::function<void()> callback);

private:
    class Changes;
    struct Watch;

    // Not exported, as it depends on the compiler which of them are inline everywhere.
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

    std::atomic<double> position{0.0};
    LegacyProgress* parent = nullptr;
    LegacyProgress* firstChild = nullptr;
    LegacyProgress* previousSibling = nullptr;
    LegacyProgress* nextSibling = nullptr;
    // The link to the parent.
    std::uint32_t rangeStart = 0;
    std::uint32_t rangeEnd : 31 = 0;
    std::uint32_t isFollowedOnReset : 1 = 0;
    // Only those progresses have one that have a message or a callback.
    std::atomic<Watch*> watch{nullptr};
};

/// Shares a full range out by speed: collects the rates of all members, then tells what one of them gets.
///
/// A step slower weighs double: 1 for VeryFast, 2, 4, 8, and 16 for VerySlow. A rate outside the enumeration
/// counts as the nearest one.
///
/// Thread: distinct objects are independent; one object is for one thread at a time.
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

    /// The mean of the members' rates, rounded to the nearest and from half-way to the slower one; Normal
    /// without members.
    Rate getAverageSpeed() const noexcept;

    /// The share of one member of the rate @p rate: FullRange times its weight by the weight of all members,
    /// rounded down, so that the shares of all members sum to at most FullRange. 0 without members; at most
    /// FullRange also for a rate that no member has.
    int getPartitionFromRate(Rate rate) const noexcept;

private:
    std::uint64_t members = 0;
    std::uint64_t sumOfRates = 0;
    std::uint64_t sumOfWeights = 0;
};

} // namespace Valdane
