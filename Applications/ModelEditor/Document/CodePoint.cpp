#include "Applications/ModelEditor/Document/CodePoint.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>

namespace ModelEditor
{

namespace
{

struct CodePointRange
{
    std::uint32_t first;
    std::uint32_t last;
};

bool isInRanges(std::uint32_t character, std::span<const CodePointRange> ranges)
{
    return std::ranges::any_of(ranges, [character](const CodePointRange& range)
                               { return range.first <= character && character <= range.last; });
}

} // namespace

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

bool isNameStart(std::uint32_t character)
{
    static constexpr std::array ranges{
        CodePointRange{'a', 'z'},        CodePointRange{'A', 'Z'},       CodePointRange{'_', '_'},
        CodePointRange{':', ':'},        CodePointRange{0xC0, 0xD6},     CodePointRange{0xD8, 0xF6},
        CodePointRange{0xF8, 0x2FF},     CodePointRange{0x370, 0x37D},   CodePointRange{0x37F, 0x1FFF},
        CodePointRange{0x200C, 0x200D},  CodePointRange{0x2070, 0x218F}, CodePointRange{0x2C00, 0x2FEF},
        CodePointRange{0x3001, 0xD7FF},  CodePointRange{0xF900, 0xFDCF}, CodePointRange{0xFDF0, 0xFFFD},
        CodePointRange{0x10000, 0xEFFFF}};
    return isInRanges(character, ranges);
}

bool isNameCharacter(std::uint32_t character)
{
    static constexpr std::array ranges{CodePointRange{'0', '9'}, CodePointRange{'-', '.'},
                                       CodePointRange{0xB7, 0xB7}, CodePointRange{0x300, 0x36F},
                                       CodePointRange{0x203F, 0x2040}};
    return isNameStart(character) || isInRanges(character, ranges);
}

std::string toUtf8(std::uint32_t character)
{
    if (character < 0x80)
    {
        return {static_cast<char>(character)};
    }
    constexpr std::array<std::uint32_t, 4> starts{0, 0xC0, 0xE0, 0xF0};
    std::size_t following = 1U + (character < 0x800 ? 0U : 1U) + (character < 0x10000 ? 0U : 1U);
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
