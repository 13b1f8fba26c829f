#include "Examples/ModelEditor/SavePoint.h"

namespace ModelEditor
{

void SavePoint::onCommandAdded() noexcept
{
    if (saved > position)
    {
        saved.reset();
    }
    ++position;
}

void SavePoint::onUndone() noexcept
{
    --position;
}

void SavePoint::onRedone() noexcept
{
    ++position;
}

void SavePoint::onSaved() noexcept
{
    saved = position;
}

bool SavePoint::isModified() const noexcept
{
    return saved != position;
}

} // namespace ModelEditor
