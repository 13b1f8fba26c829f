#include "Applications/ModelEditor/Document/XmlValue.h"

#include "Applications/ModelEditor/Document/XmlDocument.h"

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

Span spanUpTo(std::string_view end, const XmlDocument::Place& place)
{
    const auto text = place.source.getOriginal();
    return {.offset = place.offset, .length = text.find(end, place.offset) - place.offset};
}

} // namespace

XmlValue::XmlValue(XmlDocument& owner, pugi::xml_attribute changed)
    : document(owner),
      source(owner.locate(changed.value()).source),
      attribute(changed),
      place(MarkupPlace::DoubleQuoted),
      original(changed.value())
{
    const auto where = owner.locate(changed.value());
    const auto quote = source.getOriginal().substr(where.offset - 1, 1);
    span = spanUpTo(quote, where);
    place = placeOf(quote.front());
}

XmlValue::XmlValue(XmlDocument& owner, pugi::xml_node changed)
    : document(owner),
      source(owner.locate(changed.value()).source),
      textNode(changed),
      place(changed.type() == pugi::node_cdata ? MarkupPlace::CData : MarkupPlace::Text),
      original(changed.value())
{
    span = spanUpTo(place == MarkupPlace::CData ? "]]>" : "<", owner.locate(changed.value()));
}

std::string XmlValue::getText() const
{
    return attribute ? attribute.value() : textNode.value();
}

const std::string& XmlValue::getOriginal() const noexcept
{
    return original;
}

void XmlValue::setText(const std::string& text)
{
    SourceText::Prepared markup;
    if (text != original)
    {
        requireXmlText(text);
        markup = SourceText::prepare(span, toMarkup(text, place, document.getEncoding()));
    }
    if (!(attribute ? attribute.set_value(text.c_str()) : textNode.set_value(text.c_str())))
    {
        throw std::bad_alloc();
    }
    // From here on nothing fails, so that what is saved is what an XPath sees.
    if (markup.empty())
    {
        source.restore(span);
    }
    else
    {
        source.replace(std::move(markup));
    }
}

} // namespace ModelEditor
