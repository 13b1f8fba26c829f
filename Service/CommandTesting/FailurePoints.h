#pragma once

#include "Service/CommandTesting/CommandTestingExport.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Valdane
{

/// Counts the call-outs that CommandKit::failAt() names, and makes one of them fail.
///
/// Disarmed at first: reach() does nothing then, and costs a test.
///
/// Thread: arm() and disarm() while no other thread is in reach(); everything else from any thread.
class VALDANE_COMMANDTESTING_EXPORT FailurePoints
{
public:
    /// What is thrown.
    enum class Kind
    {
        StandardException, ///< a `std::runtime_error` that names the point
        Other,             ///< an `int`
    };

    FailurePoints();
    FailurePoints(const FailurePoints&) = delete;
    FailurePoints& operator=(const FailurePoints&) = delete;
    ~FailurePoints();

    /// Forgets the points that were reached. From now on they are counted, and number @p index fails, once;
    /// 0 is the first. With an index that is never reached they are counted only.
    void arm(std::uint64_t index, Kind kind);

    /// Nothing is counted and nothing fails any more. What was reached is kept.
    void disarm() noexcept;

    /// If armed: counts a point, and throws if it is the one that fails. @throws std::bad_alloc
    void reach(std::string_view name);

    /// Whether the point that fails was reached since arm().
    bool wasReached() const;

    /// The names of the points that were reached since arm(), in that order. The name at the armed index is
    /// that of the point which failed.
    std::vector<std::string> getReached() const;

private:
    bool count(std::string_view name);

    std::atomic<bool> isArmed = false;
    mutable std::mutex mutex;
    std::uint64_t failingIndex = 0;
    Kind failingKind = Kind::StandardException;
    std::vector<std::string> reached;
};

} // namespace Valdane
