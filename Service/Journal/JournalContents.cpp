#include "Service/Journal/JournalContents.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>

namespace Valdane
{

namespace
{

using Json = nlohmann::json;

// Beyond what a history reaches, and far from where numbers end.
constexpr std::int64_t LastPlace = std::int64_t{1} << 62;

// How many groups were open.
std::size_t countGroups(const JournalContents& contents)
{
    const std::string text = contents.text(JournalKey::Groups);
    const Json groups = text.empty() ? Json::array() : Json::parse(text, nullptr, false);
    if (!groups.is_array() ||
        !std::ranges::all_of(groups, [](const Json& group) { return group.is_string(); }))
    {
        refuseDamaged("the groups that were open");
    }
    return groups.size();
}

} // namespace

std::string JournalContents::text(const char* key) const
{
    const auto found = texts.find(key);
    return found == texts.end() ? std::string() : found->second;
}

void refuseDamaged(const std::string& what)
{
    throw VdException("it is damaged (" + what + ")");
}

void requireSound(const JournalContents& contents)
{
    const JournalState& state = contents.state;
    if (contents.entries.size() != state.entries || contents.retired.size() != state.retired)
    {
        refuseDamaged("commands are missing");
    }
    // One that was pending when the document was saved keeps its depth when its groups are ended.
    constexpr std::size_t FewGroups = 1000;
    const std::size_t groups = countGroups(contents);
    std::uint64_t rows = 0;
    const auto look = [&](const JournalEntry& entry)
    {
        const bool isPending = entry.kind == JournalKind::Pending;
        if (entry.place < 0 || entry.place > LastPlace || entry.kind > JournalKind::Pending ||
            (isPending && entry.depth > std::max(groups, FewGroups)))
        {
            refuseDamaged("the command at place " + std::to_string(entry.place));
        }
        rows += entry.kind == JournalKind::Row ? 1 : 0;
    };
    std::ranges::for_each(contents.retired, look);
    rows = 0;
    std::ranges::for_each(contents.entries, look);
    const auto isIn = [rows](const std::optional<std::uint64_t>& mark)
    {
        return mark.value_or(0) <= rows;
    };
    if (state.position > rows || state.saved < 0 || state.saved > LastPlace || state.saving < -1 ||
        state.saving > LastPlace || !std::ranges::all_of(state.marks, isIn))
    {
        refuseDamaged("its state");
    }
}

} // namespace Valdane
