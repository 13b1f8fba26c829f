#include "Tests/Service/CommandTesting/Mistakes/BreakableCycle.h"

namespace Valdane::Plants
{

BreakableCycle* BreakableCycle::first = nullptr;

BreakableCycle::BreakableCycle() noexcept : nextInList(first)
{
    if (first != nullptr)
    {
        first->previousInList = this;
    }
    first = this;
}

BreakableCycle::~BreakableCycle()
{
    leaveList();
}

void BreakableCycle::breakAll() noexcept
{
    while (first != nullptr)
    {
        BreakableCycle& broken = *first;
        broken.leaveList();
        broken.breakUp();
    }
}

void BreakableCycle::leaveList() noexcept
{
    if (nextInList != nullptr)
    {
        nextInList->previousInList = previousInList;
    }
    if (previousInList != nullptr)
    {
        previousInList->nextInList = nextInList;
    }
    else if (first == this)
    {
        first = nextInList;
    }
    previousInList = nullptr;
    nextInList = nullptr;
}

} // namespace Valdane::Plants
