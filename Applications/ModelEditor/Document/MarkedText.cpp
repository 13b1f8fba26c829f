#include "Applications/ModelEditor/Document/MarkedText.h"

#include "Applications/ModelEditor/Document/CodePoint.h"
#include "Applications/ModelEditor/Document/Encoding.h"
#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/MarkupPiece.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr std::string_view mark = "\xEF\xBF\xBF";

std::string markupOf(std::string_view reference)
{
    return "&" + std::string(reference) + ";";
}

// What a reference stands for that is not worth a mark.
std::optional<std::string> plainTextOf(std::string_view reference, const Encoding& encoding)
{
    using Entity = std::pair<std::string_view, const char*>;
    constexpr std::array own{Entity{"amp", "&"}, Entity{"lt", "<"}, Entity{"gt", ">"}, Entity{"quot", "\""},
                             Entity{"apos", "'"}};
    const auto* const found = std::ranges::find(own, reference, &Entity::first);
    if (found != own.end())
    {
        return found->second;
    }
    const auto character = characterOf(reference);
    const bool isWritten = character && (*character == '\t' || *character == '\n' || *character == '\r' ||
                                         (*character >= 0x80 && !encoding.isUnicode()));
    return isWritten && isXmlCharacter(*character) ? std::optional(toUtf8(*character)) : std::nullopt;
}

// Calls what is given with each text and each reference.
template <typename OnText, typename OnReference>
void forEachPart(std::string_view text, const OnText& onText, const OnReference& onReference)
{
    std::size_t start = 0;
    for (auto place = text.find(mark); place != std::string_view::npos; place = text.find(mark, place + 1))
    {
        const auto reference = referenceAt(text.substr(place + mark.size()));
        if (!reference.empty())
        {
            onText(text.substr(start, place - start));
            onReference(reference);
            start = place + mark.size() + reference.size() + 2;
        }
    }
    onText(text.substr(start));
}

} // namespace

std::string markReferences(std::string_view markup, const Encoding& encoding)
{
    std::string text;
    while (true)
    {
        const auto place = std::min(markup.find('&'), markup.size());
        text += markup.substr(0, place);
        markup.remove_prefix(place);
        if (markup.empty())
        {
            return text;
        }
        const auto reference = referenceAt(markup);
        const auto plain = plainTextOf(reference, encoding);
        if (plain)
        {
            text += *plain;
        }
        else
        {
            text += reference.empty() ? "&" : std::string(mark) + markupOf(reference);
        }
        markup.remove_prefix(reference.empty() ? 1 : reference.size() + 2);
    }
}

bool hasReferences(std::string_view text)
{
    bool found = false;
    forEachPart(
        text, [](std::string_view) {}, [&found](std::string_view) { found = true; });
    return found;
}

std::string withoutMarks(std::string_view text)
{
    std::string result;
    forEachPart(
        text, [&result](std::string_view part) { result += part; },
        [&result](std::string_view reference)
        {
            const auto character = characterOf(reference);
            if (reference.starts_with('#') && (!character || !isXmlCharacter(*character)))
            {
                throw Valdane::VdException("XML cannot hold the character " + markupOf(reference));
            }
            result += character ? toUtf8(*character) : markupOf(reference);
        });
    return result;
}

std::string toEntered(std::string_view text)
{
    std::string result;
    forEachPart(
        text,
        [&result](std::string_view part)
        {
            for (const char c : part)
            {
                result += c == '&' ? "&amp;" : std::string(1, c);
            }
        },
        [&result](std::string_view reference) { result += markupOf(reference); });
    return result;
}

std::string toMarkedMarkup(std::string_view text, MarkupPlace place, const Encoding& encoding)
{
    std::string markup;
    std::size_t before = 0;
    forEachPart(
        text,
        [&](std::string_view part)
        {
            requireXmlText(part, before);
            before += countCharacters(part);
            markup += toMarkup(part, place, encoding);
        },
        [&](std::string_view reference)
        {
            encoding.requireAll(reference, "which is in the name " + std::string(reference));
            before += countCharacters(markupOf(reference));
            markup += markupOf(reference);
        });
    return markup;
}

} // namespace ModelEditor
