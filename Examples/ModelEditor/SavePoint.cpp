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

std::optional<std::int64_t> SavePoint::getDistance() const noexcept
{
    return saved ? std::optional(*saved - position) : std::nullopt;
}

} // namespace ModelEditor
