#include "Examples/ModelEditor/SourceText.h"

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
    replacements.insert_or_assign(span.offset,
                                  Replacement{.length = span.length, .text = std::move(replacement)});
}

void SourceText::restore(Span span)
{
    replacements.erase(span.offset);
}

std::string SourceText::getCurrent() const
{
    std::string result;
    result.reserve(original.size());
    std::size_t position = 0;
    for (const auto& [offset, replacement] : replacements)
    {
        result.append(original, position, offset - position);
        result += replacement.text;
        position = offset + replacement.length;
    }
    return result.append(original, position);
}

} // namespace ModelEditor
