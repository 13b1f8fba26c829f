#include "Applications/ModelEditor/Document/Interruption.h"

#include "Platform/ExceptionHandling/VdException.h"

namespace ModelEditor
{

Interruption::~Interruption() = default;

void Interruption::check() const
{
    if (isAsked())
    {
        throw Valdane::VdException("interrupted");
    }
}

} // namespace ModelEditor
