#include "Applications/ModelEditor/Document/SourceText.h"

#include <utility>

namespace ModelEditor
{

SourceText::SourceText(std::string text) : original(std::move(text)) {}

std::string_view SourceText::getOriginal() const noexcept
{
    return original;
}

void SourceText::replace(Span span, std::string replacement)
{
    replace(prepare(span, std::move(replacement)));
}

SourceText::Prepared SourceText::prepare(Span span, std::string replacement)
{
    std::map<std::size_t, Replacement> one;
    one.emplace(span.offset, Replacement{.length = span.length, .text = std::move(replacement)});
    return one.extract(one.begin());
}

void SourceText::replace(Prepared prepared) noexcept
{
    replacements.erase(prepared.key());
    replacements.insert(std::move(prepared));
}

void SourceText::restore(Span span) noexcept
{
    replacements.erase(span.offset);
}

bool SourceText::isChanged() const noexcept
{
    return !replacements.empty();
}

std::string SourceText::getCurrent() const
{
    return getCurrent({.offset = 0, .length = original.size()});
}

std::string SourceText::getCurrent(Span span) const
{
    std::string result;
    result.reserve(span.length);
    const std::size_t end = span.offset + span.length;
    std::size_t position = span.offset;
    auto next = replacements.lower_bound(position);
    const auto isOfNothingAt = [&](std::size_t offset)
    {
        return next != replacements.end() && next->first == offset && next->second.length == 0;
    };
    if (position != 0 && isOfNothingAt(position))
    {
        ++next;
    }
    for (; next != replacements.end() && (next->first < end || isOfNothingAt(end)); ++next)
    {
        const auto& [offset, replacement] = *next;
        result.append(original, position, offset - position);
        result += replacement.text;
        position = offset + replacement.length;
    }
    result.append(original, position, end - position);
    return result;
}

std::string SourceText::release() noexcept
{
    replacements.clear();
    return std::move(original);
}

} // namespace ModelEditor
