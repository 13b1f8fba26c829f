#include "Tests/Support/Faults/CallOuts.h"

namespace Valdane::Faults
{

namespace
{

struct Plan
{
    bool isOn = false;
    std::size_t successesLeft = 0;
    Thrown exception = Thrown::CallOutFailed;
};

Plan plan;
FailedCallOut lastFailed;

} // namespace

void callOut(Callee callee)
{
    if (!plan.isOn || plan.successesLeft-- != 0)
    {
        return;
    }
    plan.isOn = false;
    lastFailed = {.hasFailed = true, .callee = callee};
    if (plan.exception == Thrown::Stranger)
    {
        throw Stranger();
    }
    throw CallOutFailed();
}

FailingCallOut::FailingCallOut(std::size_t successes, Thrown exception) noexcept
{
    plan = {.isOn = true, .successesLeft = successes, .exception = exception};
    lastFailed = {};
}

FailingCallOut::~FailingCallOut()
{
    plan.isOn = false;
}

FailedCallOut failedCallOut() noexcept
{
    return lastFailed;
}

} // namespace Valdane::Faults
