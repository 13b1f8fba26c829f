#include "Applications/ModelEditor/Document/XmlValue.h"

#include "Applications/ModelEditor/Document/Cutting.h"
#include "Applications/ModelEditor/Document/MarkedText.h"
#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <string_view>

namespace ModelEditor
{

namespace
{

MarkupPlace placeOf(char quote)
{
    return quote == '\'' ? MarkupPlace::SingleQuoted : MarkupPlace::DoubleQuoted;
}

std::string toPlainMarkup(const std::string& text, MarkupPlace place, const Encoding& encoding)
{
    requireXmlText(text);
    return toMarkup(text, place, encoding);
}

// As the parser reads line ends, and in attributes white space, that no reference gives.
std::string normalized(std::string_view markup, MarkupPlace place)
{
    std::string text;
    for (std::size_t i = 0; i < markup.size(); ++i)
    {
        const bool isLineEnd = markup[i] == '\r' || markup[i] == '\n';
        i += markup.substr(i, 2) == "\r\n" ? 1 : 0;
        const bool isBlank = place != MarkupPlace::Text && (isLineEnd || markup[i] == '\t');
        const char character = isLineEnd ? '\n' : markup[i];
        text += isBlank ? ' ' : character;
    }
    return text;
}

// A text that was put in may be all that its source text has: then nothing ends it.
Span spanUpTo(std::string_view end, const XmlDocument::Place& place)
{
    const auto text = place.source.getOriginal();
    return {.offset = place.offset,
            .length = std::min(text.find(end, place.offset), text.size()) - place.offset};
}

} // namespace

XmlValue::XmlValue(XmlDocument& owner, pugi::xml_attribute changed)
    : document(owner),
      source(owner.locate(changed).source),
      attribute(changed),
      place(MarkupPlace::DoubleQuoted),
      original(changed.value())
{
    const auto where = owner.locate(changed);
    const auto quote = source.getOriginal().substr(where.offset - 1, 1);
    span = spanUpTo(quote, where);
    place = placeOf(quote.front());
    hadReferences = hasReferences(getMarkedOriginal());
}

XmlValue::XmlValue(XmlDocument& owner, pugi::xml_node changed)
    : document(owner),
      source(owner.locate(changed).source),
      textNode(changed),
      place(changed.type() == pugi::node_cdata ? MarkupPlace::CData : MarkupPlace::Text),
      original(changed.value())
{
    span = spanUpTo(place == MarkupPlace::CData ? "]]>" : "<", owner.locate(changed));
    hadReferences = hasReferences(getMarkedOriginal());
}

std::string XmlValue::getText() const
{
    return marked ? *marked : std::string(attribute ? attribute.value() : textNode.value());
}

bool XmlValue::takesMarkup() const
{
    return hadReferences || marked;
}

std::string XmlValue::getShown() const
{
    if (!takesMarkup())
    {
        return getText();
    }
    const auto text = getText();
    return toEntered(text == original ? getMarkedOriginal() : text);
}

const std::string& XmlValue::getOriginal() const noexcept
{
    return original;
}

void XmlValue::putBack(pugi::xml_attribute attributeAgain, const std::string& text)
{
    attribute = attributeAgain;
    setText(text);
}

void XmlValue::rebind(const NodeMap& copies) noexcept
{
    attribute = copies(attribute);
    textNode = copies(textNode);
}

void XmlValue::setText(const std::string& text)
{
    const bool isMarked = place != MarkupPlace::CData && hasReferences(text);
    if (isMarked && text == getMarkedOriginal())
    {
        setText(original);
        return;
    }
    SourceText::Prepared markup;
    if (text != original)
    {
        markup = SourceText::prepare(span, isMarked ? toMarkedMarkup(text, place, document.getEncoding())
                                                    : toPlainMarkup(text, place, document.getEncoding()));
    }
    const std::string plain = isMarked ? withoutMarks(text) : text;
    auto kept = isMarked ? std::optional(text) : std::nullopt;
    if (!(attribute ? attribute.set_value(plain.c_str()) : textNode.set_value(plain.c_str())))
    {
        throw std::bad_alloc();
    }
    // From here on nothing fails, so that what is saved is what an XPath sees.
    marked.swap(kept);
    if (markup.empty())
    {
        source.restore(span);
    }
    else
    {
        source.replace(std::move(markup));
    }
}

// Empty for what has no references: CDATA knows none, and a number is no text with references,
// however it is written.
std::string XmlValue::getMarkedOriginal() const
{
    const auto markup = source.getOriginal().substr(span.offset, span.length);
    if (place == MarkupPlace::CData || markup.find('&') == std::string_view::npos ||
        typeOf(original) != ValueType::Text)
    {
        return {};
    }
    return markReferences(normalized(markup, place), document.getEncoding());
}

} // namespace ModelEditor
