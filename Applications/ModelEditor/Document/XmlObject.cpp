#include "Applications/ModelEditor/Document/XmlObject.h"

#include "Applications/ModelEditor/Document/Annotations.h"
#include "Applications/ModelEditor/Document/MarkedText.h"
#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/ObjectsByNode.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlObjectFindings.h"
#include "Applications/ModelEditor/Document/XmlValue.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::AttributeDescription;
using Valdane::AttributeDescriptionBase;
using Valdane::DynamicAttributeCollection;

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

XmlObject::~XmlObject()
{
    if (holder != nullptr)
    {
        holder->remove(element);
    }
}

pugi::xml_node XmlObject::getElement() const noexcept
{
    return element;
}

void XmlObject::bind(pugi::xml_node node) noexcept
{
    findings.reset();
    element = node;
}

std::string XmlObject::getAddress() const
{
    std::vector<std::string> steps{getAddressStep()};
    for (auto object = getOwner(); object != nullptr; object = object->getOwner())
    {
        steps.push_back(static_cast<const XmlObject&>(*object).getAddressStep());
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
    for (const auto& text : getTexts().all)
    {
        names.push_back(getTextName(text.node));
    }
    return names;
}

std::string XmlObject::getText(const std::string& name)
{
    return isPlainAttribute(name) && element.attribute(name.c_str()) ? element.attribute(name.c_str()).value()
                                                                     : findTextNode(name).value();
}

std::optional<std::string> XmlObject::getOriginalText(const std::string& name)
{
    return isAdded(name) ? std::nullopt : std::optional(requireValue(name).getOriginal());
}

std::string XmlObject::getShownText(const std::string& name)
{
    return mayTakeMarkup(name) ? requireValue(name).getShown() : getText(name);
}

bool XmlObject::takesMarkup(const std::string& name)
{
    return mayTakeMarkup(name) && requireValue(name).takesMarkup();
}

std::string XmlObject::readMarkup(const std::string& name, const std::string& markup)
{
    if (isAdded(name))
    {
        throw Valdane::VdException(getAddress() + "/" + getStep(name) +
                                   " was added since the model was opened, so that it has no references");
    }
    if (findTextNode(name).type() == pugi::node_cdata)
    {
        throw Valdane::VdException(getAddress() + "/" + getStep(name) +
                                   " is a CDATA section, which has no references");
    }
    context.document.requireKnownEntities(markup);
    return markReferences(markup, context.document.getEncoding());
}

bool XmlObject::isPlainAttribute(const std::string& name)
{
    return name != "name" && !isAnnotationName(name) && !isNamespaceDeclaration(name);
}

std::shared_ptr<AttributeDescriptionBase> XmlObject::getAttributeDescription(const std::string& name)
{
    auto description = Object::getAttributeDescription(name);
    const bool isValue =
        description == nullptr && isPlainAttribute(name) && (isAdded(name) || findValue(name) != nullptr);
    return isValue ? describe(name) : description;
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
    try
    {
        reportAnnotations(before, collection);
    }
    catch (...)
    {
        all.set(before);
        throw;
    }
}

template <typename Wanted>
std::vector<std::string> XmlObject::listAnnotations(const Wanted& isWanted)
{
    std::vector<std::string> names;
    if (const auto collection = getDynamicAttributeCollection())
    {
        for (const auto& entry : *collection)
        {
            if (isWanted(entry.name))
            {
                names.push_back(entry.name);
            }
        }
    }
    return names;
}

std::vector<std::string> XmlObject::getNewAnnotations()
{
    return listAnnotations([this](const std::string& name)
                           { return isAnnotationName(name) && !requireAnnotations().isOfFile(name); });
}

std::vector<std::string> XmlObject::getAnnotationsOf(const std::string& prefix)
{
    return listAnnotations([start = prefix + ":"](const std::string& name)
                           { return name.starts_with(start); });
}

void XmlObject::reportAnnotations(const std::shared_ptr<DynamicAttributeCollection>& before,
                                  const std::shared_ptr<DynamicAttributeCollection>& after) const
{
    const DynamicAttributeCollection none;
    const auto& old = before == nullptr ? none : *before;
    const auto& now = after == nullptr ? none : *after;
    const auto oldTexts = textsIn(before);
    const auto newTexts = textsIn(after);
    for (const auto& entry : old)
    {
        const auto found = newTexts.find(entry.name);
        const auto text = found == newTexts.end() ? std::nullopt : std::optional<std::string>(found->second);
        if (text != entry.text)
        {
            context.changed(
                {.object = *this, .value = "@" + entry.name, .before = entry.text, .after = text});
        }
    }
    for (const auto& entry : now)
    {
        if (!oldTexts.contains(entry.name))
        {
            context.changed(
                {.object = *this, .value = "@" + entry.name, .before = std::nullopt, .after = entry.text});
        }
    }
}

// Whoever adds an attribute asks for the annotations first.
bool XmlObject::isAdded(const std::string& name) const
{
    const auto* const collection = findings != nullptr && findings->annotations && !isAnnotationName(name)
                                       ? findings->annotations->get().get()
                                       : nullptr;
    return collection != nullptr && collection->get(name);
}

void XmlObject::changeAdded(const std::string& name, const std::string& text)
{
    const auto changed = std::make_shared<DynamicAttributeCollection>(*requireAnnotations().get());
    changed->set(name, text);
    setDynamicAttributeCollection(changed);
}

void XmlObject::change(const ValueName& which, const std::string& text)
{
    if (isAdded(which.name))
    {
        changeAdded(which.name, text);
        return;
    }
    auto& value = requireValue(which.name);
    const std::string before = value.getText();
    const std::string shownBefore = value.getShown();
    value.setText(text);
    if (!context.changed)
    {
        return;
    }
    try
    {
        if (value.getText() != before)
        {
            const auto original =
                isPlainAttribute(which.name) ? std::optional(value.getOriginal()) : std::nullopt;
            context.changed({.object = *this,
                             .value = which.step,
                             .before = shownBefore,
                             .after = value.getShown(),
                             .original = original});
        }
    }
    catch (...)
    {
        value.setText(before);
        throw;
    }
}

// Looks the value up on every use: the description outlives it when the element goes and comes back.
std::shared_ptr<AttributeDescriptionBase> XmlObject::describe(const std::string& name)
{
    auto description = std::make_shared<AttributeDescription<std::string>>(
        name, [this, name] { return isAdded(name) ? getText(name) : requireValue(name).getText(); },
        [this, name](const std::string& to) { change({.name = name, .step = getStep(name)}, to); });
    addAttributeDescription(description);
    return description;
}

XmlValue* XmlObject::findValue(const std::string& name)
{
    auto& values = requireFindings().values;
    const auto found = values.find(name);
    if (found != values.end())
    {
        return &found->second;
    }
    if (const auto attribute = element.attribute(name.c_str()))
    {
        return &values.try_emplace(name, context.document, attribute).first->second;
    }
    const auto textNode = findTextNode(name);
    return textNode ? &values.try_emplace(name, context.document, textNode).first->second : nullptr;
}

// Remembers nothing: hardly any value has an ampersand.
bool XmlObject::mayTakeMarkup(const std::string& name)
{
    if (findings != nullptr && findings->values.contains(name))
    {
        return true;
    }
    if (isAdded(name))
    {
        return false;
    }
    const auto attribute = isPlainAttribute(name) ? element.attribute(name.c_str()) : pugi::xml_attribute();
    const auto textNode = attribute ? pugi::xml_node() : findTextNode(name);
    if (!attribute && textNode.type() != pugi::node_pcdata)
    {
        return false;
    }
    const auto place = attribute ? context.document.locate(attribute) : context.document.locate(textNode);
    const auto text = place.source.getOriginal();
    const auto end = text.find(attribute ? text[place.offset - 1] : '<', place.offset);
    return text.substr(place.offset, end - place.offset).find('&') != std::string_view::npos;
}

XmlValue& XmlObject::requireValue(const std::string& name)
{
    auto* const value = findValue(name);
    if (value == nullptr)
    {
        throw Valdane::VdException("there is no " + name + " at " + getAddress());
    }
    return *value;
}

Annotations& XmlObject::requireAnnotations()
{
    auto& annotations = requireFindings().annotations;
    if (!annotations)
    {
        annotations.emplace(context.document, element);
    }
    return *annotations;
}

XmlObject::Findings& XmlObject::requireFindings()
{
    if (findings == nullptr)
    {
        findings = std::make_unique<Findings>();
    }
    return *findings;
}

} // namespace ModelEditor
