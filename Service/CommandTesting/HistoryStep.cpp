#include "Service/CommandTesting/HistoryStep.h"

namespace Valdane
{

HistoryStep HistoryStep::add(std::size_t generator, std::uint64_t seed)
{
    return {.kind = Kind::Add, .generator = generator, .seed = seed};
}

HistoryStep HistoryStep::addOrMerge(std::size_t generator, std::uint64_t seed)
{
    return {.kind = Kind::AddOrMerge, .generator = generator, .seed = seed};
}

HistoryStep HistoryStep::addFailing(std::size_t generator, std::uint64_t seed, std::uint64_t point)
{
    return {.kind = Kind::AddFailing, .generator = generator, .seed = seed, .number = point};
}

HistoryStep HistoryStep::undo(std::uint64_t count)
{
    return {.kind = Kind::Undo, .number = count};
}

HistoryStep HistoryStep::redo(std::uint64_t count)
{
    return {.kind = Kind::Redo, .number = count};
}

HistoryStep HistoryStep::beginGroup()
{
    return {.kind = Kind::BeginGroup};
}

HistoryStep HistoryStep::endGroup()
{
    return {.kind = Kind::EndGroup};
}

HistoryStep HistoryStep::abandonGroup()
{
    return {.kind = Kind::AbandonGroup};
}

HistoryStep HistoryStep::save()
{
    return {.kind = Kind::Save};
}

HistoryStep HistoryStep::limit(std::uint32_t size)
{
    return {.kind = Kind::Limit, .number = size};
}

std::string HistoryStep::toText() const
{
    const std::string command = std::to_string(generator) + ", " + std::to_string(seed);
    switch (kind)
    {
    case Kind::Add:
        return "HistoryStep::add(" + command + ")";
    case Kind::AddOrMerge:
        return "HistoryStep::addOrMerge(" + command + ")";
    case Kind::AddFailing:
        return "HistoryStep::addFailing(" + command + ", " + std::to_string(number) + ")";
    case Kind::Undo:
        return "HistoryStep::undo(" + std::to_string(number) + ")";
    case Kind::Redo:
        return "HistoryStep::redo(" + std::to_string(number) + ")";
    case Kind::BeginGroup:
        return "HistoryStep::beginGroup()";
    case Kind::EndGroup:
        return "HistoryStep::endGroup()";
    case Kind::AbandonGroup:
        return "HistoryStep::abandonGroup()";
    case Kind::Save:
        return "HistoryStep::save()";
    case Kind::Limit:
        return "HistoryStep::limit(" + std::to_string(number) + ")";
    }
    return {};
}

} // namespace Valdane
