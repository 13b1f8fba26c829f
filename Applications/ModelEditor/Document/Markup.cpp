#include "Applications/ModelEditor/Document/Markup.h"

#include "Applications/ModelEditor/Document/CodePoint.h"
#include "Applications/ModelEditor/Document/Encoding.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

namespace ModelEditor
{

namespace
{

// Of which most values are, and which stand for themselves everywhere.
constexpr std::string_view plainCharacters =
    "xabcdefghijklmnopqrstuvwyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 .-_/:,;=+()[]{}!?#@$%*^~|\\";

std::string escaped(char c, MarkupPlace place)
{
    std::string itself(1, c);
    const bool quoted = place != MarkupPlace::Text;
    switch (c)
    {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return place == MarkupPlace::DoubleQuoted ? "&quot;" : "\"";
    case '\'':
        return place == MarkupPlace::SingleQuoted ? "&apos;" : "'";
    case '\t':
    case '\n':
        return quoted ? referenceTo(static_cast<unsigned char>(c)) : itself;
    case '\r':
        return referenceTo('\r');
    default:
        return itself;
    }
}

// Inside CDATA nothing is escaped: what it cannot hold stands between two of them.
std::string toCData(std::string_view value, const Encoding& encoding)
{
    const auto between = [](const std::string& reference)
    {
        return "]]>" + reference + "<![CDATA[";
    };
    std::string markup;
    auto missing = encoding.findMissing(value);
    for (std::size_t i = 0; i < value.size(); ++i)
    {
        if (i == missing)
        {
            const auto character =
                firstCodePoint(value.substr(i)).value_or(CodePoint{.value = 0, .length = 1});
            markup += between(referenceTo(character.value));
            missing = encoding.findMissing(value, i + character.length);
            i += character.length - 1;
        }
        else if (value.substr(i).starts_with("]]>"))
        {
            markup += "]]]]><![CDATA[>";
            i += 2;
        }
        else if (value[i] == '\r')
        {
            markup += between(referenceTo('\r'));
        }
        else
        {
            markup += value[i];
        }
    }
    return markup;
}

// Where what stands for itself as ASCII is written as it is.
std::string toEscaped(std::string_view value, MarkupPlace place, bool asciiOnly)
{
    std::string markup;
    while (true)
    {
        const auto plain = std::min(value.size(), value.find_first_not_of(plainCharacters));
        markup += value.substr(0, plain);
        value.remove_prefix(plain);
        if (value.empty())
        {
            return markup;
        }
        const CodePoint next = firstCodePoint(value).value_or(CodePoint{.value = 0, .length = 1});
        if (next.length > 1 && asciiOnly)
        {
            markup += referenceTo(next.value);
        }
        else
        {
            markup +=
                next.length > 1 ? std::string(value.substr(0, next.length)) : escaped(value.front(), place);
        }
        value.remove_prefix(next.length);
    }
}

bool isNameWithoutColon(std::string_view name)
{
    for (auto left = name; !left.empty();)
    {
        const auto next = firstCodePoint(left);
        const bool isFirst = left.size() == name.size();
        if (!next || next->value == ':' ||
            !(isFirst ? isNameStart(next->value) : isNameCharacter(next->value)))
        {
            return false;
        }
        left.remove_prefix(next->length);
    }
    return !name.empty();
}

// As the parser reads names: all that is no ASCII may be in them.
bool isParsedNameStart(char c)
{
    return static_cast<unsigned char>(c) >= 0x80 || (c != ':' && isNameStart(static_cast<unsigned char>(c)));
}

bool isParsedName(std::string_view name)
{
    return !name.empty() && isParsedNameStart(name.front()) &&
           std::ranges::all_of(
               name,
               [](char c) { return isParsedNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; });
}

} // namespace

std::string toMarkup(std::string_view value, MarkupPlace place, const Encoding& encoding)
{
    auto markup = place == MarkupPlace::CData ? toCData(value, encoding)
                                              : toEscaped(value, place, !encoding.isUnicode());
    encoding.requireAll(markup, "which the value needs");
    return markup;
}

std::string referenceTo(std::uint32_t character)
{
    return "&#" + std::to_string(character) + ";";
}

void requireXmlText(std::string_view value, std::size_t before)
{
    auto left = value;
    const auto getPlace = [&]
    {
        return "character " +
               std::to_string(before + countCharacters(value.substr(0, value.size() - left.size())) + 1) +
               " of the value";
    };
    while (true)
    {
        left.remove_prefix(std::min(left.size(), left.find_first_not_of(plainCharacters)));
        if (left.empty())
        {
            return;
        }
        const auto next = firstCodePoint(left);
        if (!next)
        {
            throw Valdane::VdException("the value is not UTF-8 at " + getPlace());
        }
        if (!isXmlCharacter(next->value))
        {
            throw Valdane::VdException("XML cannot hold the character " + nameOfCharacter(next->value) +
                                       ", " + getPlace());
        }
        left.remove_prefix(next->length);
    }
}

bool isAnnotationName(std::string_view name)
{
    const auto colon = name.find(':');
    return colon != std::string_view::npos && isNameWithoutColon(name.substr(0, colon)) &&
           isNameWithoutColon(name.substr(colon + 1)) && !isNamespaceDeclaration(name);
}

bool isAttributeName(std::string_view name)
{
    return isAnnotationName(name) || (isNameWithoutColon(name) && !isNamespaceDeclaration(name));
}

bool isQualifiedName(std::string_view name)
{
    return std::ranges::count(name, ':') <= 1 && !name.starts_with(':') && !name.ends_with(':');
}

bool isNamespaceDeclaration(std::string_view name)
{
    return name == "xmlns" || name.starts_with("xmlns:");
}

bool startsWithReference(std::string_view markup)
{
    const auto end = markup.find(';');
    if (end == std::string_view::npos || !markup.starts_with('&'))
    {
        return false;
    }
    const auto name = markup.substr(1, end - 1);
    const auto areAll = [](std::string_view text, std::string_view characters)
    {
        return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
    };
    if (name.starts_with("#x"))
    {
        return areAll(name.substr(2), "0123456789abcdefABCDEF");
    }
    return name.starts_with('#') ? areAll(name.substr(1), "0123456789")
                                 : isParsedName(name.substr(0, name.find(':')));
}

bool isBlank(std::string_view text)
{
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::size_t placeBehind(std::string_view text, std::string_view wanted, std::size_t offset)
{
    const auto found = text.find(wanted, std::min(offset, text.size()));
    return found == std::string_view::npos ? text.size() : found + wanted.size();
}

void requireMemory(bool done)
{
    if (!done)
    {
        throw std::bad_alloc();
    }
}

} // namespace ModelEditor
