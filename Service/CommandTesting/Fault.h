#pragma once

#include "Service/CommandTesting/FailurePoints.h"
#include "Service/CommandTesting/Place.h"

#include <cstdint>
#include <memory>

namespace Valdane
{

class AllocationFaults;

/// Makes one call of a step fail. Thread: one thread at a time.
class Fault
{
public:
    /// Lets an allocation fail. @p faults must live as long as the fault.
    static std::unique_ptr<Fault> ofAllocation(AllocationFaults& faults);

    /// Lets one of @p points fail, which must live as long as the fault.
    static std::unique_ptr<Fault> ofPoint(FailurePoints& points, FailurePoints::Kind kind);

    Fault() = default;
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;
    virtual ~Fault();

    /// From now on the call at @p place fails; 0 is the first one. Only the step may allocate until end().
    virtual void begin(std::uint64_t place) = 0;

    /// Nothing fails any more.
    virtual void end() noexcept = 0;

    /// Whether the place was reached between begin() and end().
    virtual bool wasReached() const = 0;

    /// Where it was, in a step that has no name yet. @pre it was reached.
    virtual Place getPlace() const = 0;
};

} // namespace Valdane
