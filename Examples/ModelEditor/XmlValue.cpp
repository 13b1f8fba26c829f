#include "Examples/ModelEditor/XmlValue.h"

#include "Examples/ModelEditor/XmlDocument.h"

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

Span spanOfText(std::string_view source, std::size_t offset, std::string_view end)
{
    return {.offset = offset, .length = source.find(end, offset) - offset};
}

} // namespace

XmlValue::XmlValue(XmlDocument& owner, pugi::xml_attribute changed, const StartTag::Attribute& where)
    : document(owner),
      attribute(changed),
      span(where.value),
      place(placeOf(owner.getSource().getOriginal()[where.value.offset - 1])),
      original(changed.value())
{
}

XmlValue::XmlValue(XmlDocument& owner, pugi::xml_node changed)
    : document(owner),
      textNode(changed),
      place(changed.type() == pugi::node_cdata ? MarkupPlace::CData : MarkupPlace::Text),
      original(changed.value())
{
    span = spanOfText(owner.getSource().getOriginal(), owner.offsetOf(changed.value()),
                      place == MarkupPlace::CData ? "]]>" : "<");
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
    std::string markup;
    if (text != original)
    {
        requireXmlText(text);
        markup = toMarkup(text, place, document.isAsciiOnly());
    }
    if (!(attribute ? attribute.set_value(text.c_str()) : textNode.set_value(text.c_str())))
    {
        throw std::bad_alloc();
    }
    if (text == original)
    {
        document.getSource().restore(span);
    }
    else
    {
        document.getSource().replace(span, std::move(markup));
    }
}

} // namespace ModelEditor
