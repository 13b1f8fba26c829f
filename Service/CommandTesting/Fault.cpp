#include "Service/CommandTesting/Fault.h"

#include "Service/CommandTesting/AllocationFaults.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

class AllocationFault final : public Fault
{
public:
    explicit AllocationFault(AllocationFaults& usedFaults) : faults(usedFaults) {}

    void begin(std::uint64_t newPlace) override
    {
        place = newPlace;
        faults.begin(place);
    }

    void end() noexcept override
    {
        hasFailed = faults.end();
    }

    bool wasReached() const override
    {
        return hasFailed;
    }

    Place getPlace() const override
    {
        return {.what = "at operator new", .call = place + 1};
    }

private:
    AllocationFaults& faults;
    std::uint64_t place = 0;
    bool hasFailed = false;
};

class PointFault final : public Fault
{
public:
    PointFault(FailurePoints& usedPoints, FailurePoints::Kind thrownKind)
        : points(usedPoints), kind(thrownKind)
    {
    }

    void begin(std::uint64_t newPlace) override
    {
        place = newPlace;
        points.arm(place, kind);
    }

    void end() noexcept override
    {
        points.disarm();
    }

    bool wasReached() const override
    {
        return points.wasReached();
    }

    Place getPlace() const override
    {
        const std::vector<std::string> reached = points.getReached();
        const auto failed = std::next(reached.begin(), static_cast<std::ptrdiff_t>(place));
        const auto earlier = std::count(reached.begin(), failed, *failed);
        return {.what = "at \"" + *failed + "\"",
                .call = static_cast<std::uint64_t>(earlier) + 1,
                .throwsInt = kind == FailurePoints::Kind::Other};
    }

private:
    FailurePoints& points;
    FailurePoints::Kind kind;
    std::uint64_t place = 0;
};

} // namespace

Fault::~Fault() = default;

std::unique_ptr<Fault> Fault::ofAllocation(AllocationFaults& faults)
{
    return std::make_unique<AllocationFault>(faults);
}

std::unique_ptr<Fault> Fault::ofPoint(FailurePoints& points, FailurePoints::Kind kind)
{
    return std::make_unique<PointFault>(points, kind);
}

} // namespace Valdane
