#include "Service/Journal/JournalSum.h"

namespace Valdane
{

namespace
{

// FNV-1a, 64 bits (Fowler, Noll, Vo): notices damage, not malice.
class Sum
{
public:
    Sum& add(std::string_view bytes) noexcept
    {
        for (const char byte : bytes)
        {
            value = (value ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
        }
        return *this;
    }

    Sum& add(std::int64_t number) noexcept
    {
        for (unsigned shift = 0; shift < 64; shift += 8)
        {
            value = (value ^ ((static_cast<std::uint64_t>(number) >> shift) & 0xFFU)) * 0x100000001B3U;
        }
        return *this;
    }

    std::int64_t get() const noexcept
    {
        return static_cast<std::int64_t>(value);
    }

private:
    std::uint64_t value = 0xCBF29CE484222325U;
};

} // namespace

std::int64_t sumOf(std::string_view bytes)
{
    return Sum().add(bytes).get();
}

std::int64_t sumOf(std::int64_t place, std::int64_t kind, std::int64_t depth, std::string_view data)
{
    return Sum().add(place).add(kind).add(depth).add(data).get();
}

std::optional<std::int64_t> asInteger(const std::optional<std::uint64_t>& mark)
{
    return mark.has_value() ? std::optional(static_cast<std::int64_t>(*mark)) : std::nullopt;
}

std::int64_t sumOf(const JournalState& state)
{
    return Sum()
        .add(static_cast<std::int64_t>(state.position))
        .add(state.saved)
        .add(state.saving)
        .add(static_cast<std::int64_t>(state.isReachable))
        .add(static_cast<std::int64_t>(state.entries))
        .add(static_cast<std::int64_t>(state.retired))
        .add(asInteger(state.marks[0]).value_or(-1))
        .add(asInteger(state.marks[1]).value_or(-1))
        .get();
}

} // namespace Valdane
