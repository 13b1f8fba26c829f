#include "Applications/ModelEditor/Document/CodePoint.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace ModelEditor
{

std::optional<CodePoint> firstCodePoint(std::string_view text)
{
    const auto byte = [&](std::size_t i)
    {
        return static_cast<unsigned char>(text[i]);
    };
    if (byte(0) < 0x80)
    {
        return CodePoint{.value = byte(0), .length = 1};
    }
    const std::size_t length = 2U + (byte(0) >= 0xE0 ? 1U : 0U) + (byte(0) >= 0xF0 ? 1U : 0U);
    if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < length)
    {
        return {};
    }
    std::uint32_t value = byte(0) & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((byte(i) & 0xC0U) != 0x80)
        {
            return {};
        }
        value = value << 6U | (byte(i) & 0x3FU);
    }
    constexpr std::array<std::uint32_t, 5> smallest{0, 0, 0x80, 0x800, 0x10000};
    return value < smallest.at(length) || value > 0x10FFFF ? std::optional<CodePoint>{}
                                                           : CodePoint{.value = value, .length = length};
}

std::size_t countCharacters(std::string_view text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

bool isXmlCharacter(std::uint32_t character)
{
    return character == '\t' || character == '\n' || character == '\r' ||
           (character >= 0x20 && character < 0xD800) || (character >= 0xE000 && character < 0xFFFE) ||
           (character >= 0x10000 && character < 0x110000);
}

std::string toUtf8(std::uint32_t character)
{
    if (character < 0x80)
    {
        return {static_cast<char>(character)};
    }
    constexpr std::array<std::uint32_t, 4> starts{0, 0xC0, 0xE0, 0xF0};
    std::size_t following = character < 0x800 ? 1U : character < 0x10000 ? 2U : 3U;
    std::string bytes{static_cast<char>(starts.at(following) | character >> 6 * following)};
    while (following-- > 0)
    {
        bytes += static_cast<char>(0x80U | (character >> 6 * following & 0x3FU));
    }
    return bytes;
}

std::string nameOfCharacter(std::uint32_t character)
{
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "U+%04X", character);
    return name.data();
}

} // namespace ModelEditor
