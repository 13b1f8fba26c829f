#include "Service/CommandTesting/FailurePoints.h"

#include <stdexcept>

namespace Valdane
{

FailurePoints::FailurePoints() = default;

FailurePoints::~FailurePoints() = default;

void FailurePoints::arm(std::uint64_t index, Kind kind)
{
    const std::lock_guard lock(mutex);
    reached.clear();
    failingIndex = index;
    failingKind = kind;
    isArmed = true;
}

void FailurePoints::disarm() noexcept
{
    isArmed = false;
}

void FailurePoints::reach(std::string_view name)
{
    if (!isArmed || !count(name))
    {
        return;
    }
    if (failingKind == Kind::Other)
    {
        throw 1;
    }
    throw std::runtime_error("made to fail at \"" + std::string(name) + "\"");
}

bool FailurePoints::wasReached() const
{
    const std::lock_guard lock(mutex);
    return reached.size() > failingIndex;
}

std::vector<std::string> FailurePoints::getReached() const
{
    const std::lock_guard lock(mutex);
    return reached;
}

// Whether it is the point that fails.
bool FailurePoints::count(std::string_view name)
{
    const std::lock_guard lock(mutex);
    reached.emplace_back(name);
    return reached.size() - 1 == failingIndex;
}

} // namespace Valdane
