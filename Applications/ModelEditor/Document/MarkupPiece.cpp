#include "Applications/ModelEditor/Document/MarkupPiece.h"

#include "Applications/ModelEditor/Document/Markup.h"

#include <algorithm>
#include <array>

namespace ModelEditor
{

namespace
{

struct Enclosed
{
    std::string_view start;
    std::string_view end;
    MarkupPiece::Kind kind;
};

constexpr std::array enclosed{Enclosed{"<!--", "-->", MarkupPiece::Kind::Comment},
                              Enclosed{"<![CDATA[", "]]>", MarkupPiece::Kind::CData},
                              Enclosed{"<?", "?>", MarkupPiece::Kind::Instruction}};

// A loop is several times as fast as find_first_of().
std::size_t lengthOfTag(std::string_view markup)
{
    char quote = '\0';
    for (std::size_t i = 0; i < markup.size(); ++i)
    {
        const char c = markup[i];
        if (quote != '\0')
        {
            i = std::min(markup.find(quote, i), markup.size());
            quote = '\0';
        }
        else if (c == '>')
        {
            return i + 1;
        }
        else if (c == '"' || c == '\'')
        {
            quote = c;
        }
    }
    return markup.size();
}

// Sections can be in each other.
std::size_t lengthOfIgnoredSection(std::string_view markup)
{
    std::size_t depth = 0;
    for (std::size_t i = 0; i < markup.size(); ++i)
    {
        const auto rest = markup.substr(i, 3);
        depth += rest == "<![" ? 1 : 0;
        if (rest == "]]>" && --depth == 0)
        {
            return i + 3;
        }
    }
    return markup.size();
}

std::size_t lengthOfDocumentType(std::string_view markup)
{
    std::size_t depth = 0;
    std::size_t i = 0;
    while (i < markup.size())
    {
        const auto rest = markup.substr(i);
        if (rest.front() == '"' || rest.front() == '\'')
        {
            i = placeBehind(markup, rest.substr(0, 1), i + 1);
        }
        else if (rest.starts_with("<!--"))
        {
            i = placeBehind(markup, "-->", i + 4);
        }
        else if (rest.starts_with("<?"))
        {
            i = placeBehind(markup, "?>", i + 2);
        }
        else if (rest.starts_with("<!["))
        {
            i += lengthOfIgnoredSection(rest);
        }
        else
        {
            depth += rest.front() == '<' ? 1 : 0;
            ++i;
            if (rest.front() == '>' && --depth == 0)
            {
                return i;
            }
        }
    }
    return markup.size();
}

} // namespace

MarkupPiece MarkupPiece::at(std::string_view markup, std::size_t offset)
{
    const auto rest = markup.substr(offset);
    if (rest.front() != '<')
    {
        return {.kind = Kind::Text, .text = rest.substr(0, rest.find('<'))};
    }
    if (rest.size() > 1 && rest[1] != '!' && rest[1] != '?')
    {
        return {.kind = Kind::Tag, .text = rest.substr(0, lengthOfTag(rest))};
    }
    for (const auto& [start, end, kind] : enclosed)
    {
        if (rest.starts_with(start))
        {
            return {.kind = kind, .text = rest.substr(0, placeBehind(rest, end, start.size()))};
        }
    }
    return {.kind = Kind::DocumentType, .text = rest.substr(0, lengthOfDocumentType(rest))};
}

std::string_view referenceAt(std::string_view markup)
{
    return startsWithReference(markup) ? markup.substr(1, markup.find(';') - 1) : std::string_view();
}

std::optional<std::uint32_t> characterOf(std::string_view reference)
{
    if (!reference.starts_with('#'))
    {
        return {};
    }
    const bool isHex = reference.starts_with("#x");
    std::uint32_t number = 0;
    for (const char digit : reference.substr(isHex ? 2 : 1))
    {
        const auto value = digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10;
        number = number * (isHex ? 16 : 10) + static_cast<std::uint32_t>(value);
        if (number >= 0x110000)
        {
            return {};
        }
    }
    return number;
}

} // namespace ModelEditor
