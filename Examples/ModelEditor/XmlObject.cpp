#include "Examples/ModelEditor/XmlObject.h"

#include "Examples/ModelEditor/Annotations.h"
#include "Examples/ModelEditor/Markup.h"
#include "Examples/ModelEditor/StartTag.h"
#include "Examples/ModelEditor/ValueText.h"
#include "Examples/ModelEditor/XmlChange.h"
#include "Examples/ModelEditor/XmlDocument.h"
#include "Examples/ModelEditor/XmlValue.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::AttributeDescription;
using Valdane::AttributeDescriptionBase;
using Valdane::DynamicAttributeCollection;

bool isText(pugi::xml_node node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// White space between other nodes; white space that is all that an element has is its text.
bool isLayout(pugi::xml_node text)
{
    const bool isOnly = !text.previous_sibling() && !text.next_sibling();
    return text.type() == pugi::node_pcdata && !isOnly && isBlank(text.value());
}

std::size_t xpathNumber(pugi::xml_node text)
{
    std::size_t number = 1;
    for (auto node = text.previous_sibling(); node; node = node.previous_sibling())
    {
        number += isText(node) ? 1 : 0;
    }
    return number;
}

std::optional<std::string> nameOf(pugi::xml_node element)
{
    const auto name = element.attribute("name");
    return name ? std::optional<std::string>(name.value()) : std::nullopt;
}

} // namespace

XmlObject::XmlObject(std::string key, const XmlContext& shared, pugi::xml_node node)
    : Object(std::move(key)), context(shared), element(node)
{
}

XmlObject::~XmlObject() = default;

pugi::xml_node XmlObject::getElement() const noexcept
{
    return element;
}

std::string XmlObject::getAddress() const
{
    std::vector<std::string> steps{getKey()};
    for (auto object = getOwner(); object != nullptr; object = object->getOwner())
    {
        steps.push_back(object->getKey());
    }
    std::string address;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step)
    {
        address += "/" + *step;
    }
    return address;
}

std::string XmlObject::getTitle() const
{
    std::string tag = element.name();
    if (const auto name = nameOf(element))
    {
        return tag + " " + *name;
    }
    for (auto node = element.parent(); !node.parent().parent().empty(); node = node.parent())
    {
        if (const auto name = nameOf(node))
        {
            return tag + " of " + node.name() + " " + *name;
        }
    }
    return tag;
}

std::string XmlObject::getTextName(pugi::xml_node textNode)
{
    const auto& all = getTexts();
    const auto found = std::ranges::find(all, textNode);
    if (found == all.end())
    {
        return {};
    }
    return found == all.begin() ? "text()" : "text()[" + std::to_string(xpathNumber(textNode)) + "]";
}

std::vector<std::string> XmlObject::getAttributeNames()
{
    std::vector<std::string> names;
    for (const auto attribute : element.attributes())
    {
        if (isPlainAttribute(attribute.name()))
        {
            names.emplace_back(attribute.name());
        }
    }
    for (const auto text : getTexts())
    {
        names.push_back(getTextName(text));
    }
    return names;
}

std::string XmlObject::getStep(const std::string& name)
{
    if (!name.starts_with("text()"))
    {
        return "@" + name;
    }
    const auto& all = getTexts();
    return all.size() > 1 && name == "text()" ? name + "[" + std::to_string(xpathNumber(all.front())) + "]"
                                              : name;
}

std::string XmlObject::getText(const std::string& name)
{
    return isPlainAttribute(name) && element.attribute(name.c_str()) ? element.attribute(name.c_str()).value()
                                                                     : findTextNode(name).value();
}

bool XmlObject::isPlainAttribute(const std::string& name)
{
    return name != "name" && !isAnnotationName(name) && !isNamespaceDeclaration(name);
}

std::shared_ptr<AttributeDescriptionBase> XmlObject::getAttributeDescription(const std::string& name)
{
    auto description = Object::getAttributeDescription(name);
    const auto value = description == nullptr ? findValue(name) : nullptr;
    if (value == nullptr)
    {
        return description;
    }
    switch (typeOf(value->getOriginal()))
    {
    case ValueType::Int:
        return describe<int>(name, value);
    case ValueType::UnsignedInt:
        return describe<unsigned int>(name, value);
    case ValueType::Double:
        return describe<double>(name, value);
    case ValueType::Bool:
        return describe<bool>(name, value);
    default:
        return describe<std::string>(name, value);
    }
}

std::shared_ptr<DynamicAttributeCollection> XmlObject::getDynamicAttributeCollection()
{
    return requireAnnotations().get();
}

void XmlObject::setDynamicAttributeCollection(std::shared_ptr<DynamicAttributeCollection> collection)
{
    auto& all = requireAnnotations();
    const auto before = all.get();
    all.set(collection);
    if (!context.changed)
    {
        return;
    }
    const DynamicAttributeCollection none;
    const auto& old = before == nullptr ? none : *before;
    const auto& now = collection == nullptr ? none : *collection;
    for (const auto& entry : old)
    {
        const auto text = now.get(entry.name);
        if (text != entry.text)
        {
            context.changed({*this, "@" + entry.name, entry.text, text});
        }
    }
    for (const auto& entry : now)
    {
        if (!old.get(entry.name))
        {
            context.changed({*this, "@" + entry.name, std::nullopt, entry.text});
        }
    }
}

std::unique_ptr<XmlValue> XmlObject::makeValue(const std::string& name) const
{
    const auto tag =
        StartTag::read(context.document.getSource().getOriginal(), context.document.offsetOf(element.name()));
    return std::make_unique<XmlValue>(context.document, element.attribute(name.c_str()), *tag.find(name));
}

void XmlObject::change(XmlValue& value, const std::string& step, const std::string& text) const
{
    const std::string before = value.getText();
    value.setText(text);
    if (context.changed && before != text)
    {
        context.changed({*this, step, before, text});
    }
}

template <typename T>
std::shared_ptr<AttributeDescriptionBase> XmlObject::describe(const std::string& name,
                                                              std::shared_ptr<XmlValue> value)
{
    const std::string step = getStep(name);
    auto description = std::make_shared<AttributeDescription<T>>(
        name, [value] { return valueOf<T>(value->getText()).value(); },
        [this, value, step](const T& to) { change(*value, step, textLike(value->getOriginal(), to)); });
    addAttributeDescription(description);
    return description;
}

std::shared_ptr<XmlValue> XmlObject::findValue(const std::string& name)
{
    if (isPlainAttribute(name) && !element.attribute(name.c_str()).empty())
    {
        return makeValue(name);
    }
    const auto textNode = findTextNode(name);
    return textNode ? std::make_shared<XmlValue>(context.document, textNode) : nullptr;
}

pugi::xml_node XmlObject::findTextNode(const std::string& name)
{
    const auto& all = getTexts();
    const auto found =
        std::ranges::find(all, name, [this](pugi::xml_node node) { return getTextName(node); });
    return found == all.end() ? pugi::xml_node() : *found;
}

// Found before anybody can change one, so that what is layout stays so.
const std::vector<pugi::xml_node>& XmlObject::getTexts()
{
    if (texts == nullptr)
    {
        texts = std::make_unique<std::vector<pugi::xml_node>>();
        std::ranges::copy_if(element.children(), std::back_inserter(*texts),
                             [](pugi::xml_node node) { return isText(node) && !isLayout(node); });
    }
    return *texts;
}

Annotations& XmlObject::requireAnnotations()
{
    if (annotations == nullptr)
    {
        annotations = std::make_unique<Annotations>(context.document, element);
    }
    return *annotations;
}

} // namespace ModelEditor
