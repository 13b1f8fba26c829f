#include "Applications/ModelEditor/Document/Cutting.h"
#include "Applications/ModelEditor/Document/NamedXmlObject.h"
#include "Applications/ModelEditor/Document/ObjectsByNode.h"
#include "Applications/ModelEditor/Document/SiblingKeys.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlObjectFindings.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

// The texts of an element, and what children that come and go mean for it.

namespace ModelEditor
{

namespace
{

constexpr std::string_view textName = "text()";

bool isTextNode(pugi::xml_node node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

std::string stepAmongSiblings(pugi::xml_node child)
{
    const std::string_view tag = child.name();
    std::size_t number = 0;
    std::size_t count = 0;
    for (auto node = elementFrom(child.parent().first_child()); node; node = elementFrom(node.next_sibling()))
    {
        count += node.name() == tag ? 1 : 0;
        number = node == child ? count : number;
    }
    return std::string(tag) + (count == 1 ? "" : "[" + std::to_string(number) + "]");
}

std::string nameOfKey(std::size_t key)
{
    return std::string(textName) + (key == 0 ? "" : "[" + std::to_string(key) + "]");
}

} // namespace

void XmlObject::settleTexts()
{
    (void)getTexts();
}

std::string XmlObject::getTextName(pugi::xml_node textNode)
{
    const auto& texts = getNumberedTexts();
    const auto found = texts.byNode.find(textNode.internal_object());
    return found == texts.byNode.end() ? std::string() : nameOfKey(texts.all[found->second.index].key);
}

std::string XmlObject::getStep(const std::string& name)
{
    if (!name.starts_with(textName))
    {
        return "@" + name;
    }
    const auto node = findTextNode(name);
    if (node.empty())
    {
        return name;
    }
    // The only one has no number, although its name may have one from when there were others.
    const auto& texts = getNumberedTexts();
    return texts.all.size() > 1 ? nameOfKey(texts.byNode.at(node.internal_object()).number)
                                : std::string(textName);
}

// The key stands in the name.
pugi::xml_node XmlObject::findTextNode(const std::string& name)
{
    const auto& texts = getNumberedTexts();
    std::size_t key = 0;
    if (name.starts_with("text()["))
    {
        std::from_chars(name.data() + textName.size() + 1, name.data() + name.size(), key);
    }
    const auto found = texts.indexByKey.find(key);
    return found != texts.indexByKey.end() && nameOfKey(key) == name ? texts.all[found->second].node
                                                                     : pugi::xml_node();
}

// Found before anybody can change one, so that what is layout stays so.
XmlObject::Texts& XmlObject::getTexts()
{
    auto& texts = requireFindings().texts;
    if (!texts)
    {
        Texts found;
        std::size_t number = 0;
        for (const auto node : element.children())
        {
            number += isTextNode(node) ? 1 : 0;
            if (isTextNode(node) && !isLayout(node))
            {
                found.all.push_back({.node = node, .key = found.all.empty() ? 0 : number});
            }
        }
        found.lowestFreeKey = number + 1;
        texts = std::move(found);
    }
    return *texts;
}

const XmlObject::Texts& XmlObject::getNumberedTexts()
{
    auto& texts = getTexts();
    if (texts.isNumbered)
    {
        return texts;
    }
    texts.byNode.clear();
    texts.indexByKey.clear();
    for (std::size_t index = 0; index < texts.all.size(); ++index)
    {
        texts.byNode[texts.all[index].node.internal_object()] = {.index = index, .number = 0};
        texts.indexByKey[texts.all[index].key] = index;
    }
    std::size_t number = 0;
    for (const auto node : element.children())
    {
        number += isTextNode(node) ? 1 : 0;
        if (const auto found = texts.byNode.find(node.internal_object()); found != texts.byNode.end())
        {
            found->second.number = number;
        }
    }
    texts.isNumbered = true;
    return texts;
}

std::size_t XmlObject::findFreeTextKey()
{
    const auto& texts = getTexts();
    std::size_t free = texts.lowestFreeKey;
    for (const auto& text : texts.all)
    {
        free = std::max(free, text.key + 1);
    }
    return free;
}

void XmlObject::addText(pugi::xml_node node, TakenText& taken)
{
    auto& texts = getTexts();
    auto place = texts.all.begin();
    for (auto before = element.first_child(); before != node && place != texts.all.end();
         before = before.next_sibling())
    {
        place += before == place->node ? 1 : 0;
    }
    texts.all.insert(place, {.node = node, .key = taken.key});
    texts.isNumbered = false;
    if (taken.value)
    {
        requireFindings().values.insert(std::move(taken.value));
    }
}

XmlObject::TakenText XmlObject::takeText(pugi::xml_node node) noexcept
{
    auto& texts = *findings->texts;
    const auto found = std::ranges::find(texts.all, node, &Texts::Text::node);
    TakenText taken{.key = found->key};
    taken.value = findings->values.extract(nameOfKey(taken.key));
    texts.all.erase(found);
    texts.isNumbered = false;
    return taken;
}

bool XmlObject::hasText(pugi::xml_node node)
{
    return !getTextName(node).empty();
}

void XmlObject::onChildrenChanged() noexcept
{
    hasOwnOrder = true;
    if (findings != nullptr)
    {
        findings->steps.reset();
        findings->wasStepAsked = false;
        if (findings->texts)
        {
            findings->texts->isNumbered = false;
        }
    }
}

void XmlObject::rebind(const NodeMap& copies) noexcept
{
    element = copies(element);
    if (findings == nullptr)
    {
        return;
    }
    findings->steps.reset();
    if (findings->texts)
    {
        findings->texts->isNumbered = false;
        for (auto& text : findings->texts->all)
        {
            text.node = copies(text.node);
        }
    }
    for (auto& [name, value] : findings->values)
    {
        value.rebind(copies);
    }
    if (findings->annotations)
    {
        findings->annotations->rebind(element);
    }
}

// A key without a number was made when there was no sibling of the same tag; since then one may have come.
std::string XmlObject::getAddressStep() const
{
    const auto above = std::static_pointer_cast<XmlObject>(getOwner());
    if (above != nullptr && above->hasOwnOrder)
    {
        return above->getStepOfChild(element);
    }
    const bool isFirstOfMany = above != nullptr && above->findChild(getKey() + "[2]") != nullptr;
    return isFirstOfMany ? getKey() + "[1]" : getKey();
}

// Who changes thousands of children one by one asks for one of them after each change.
std::string XmlObject::getStepOfChild(pugi::xml_node child)
{
    auto& steps = requireFindings().steps;
    if (!steps && !std::exchange(findings->wasStepAsked, true))
    {
        return stepAmongSiblings(child);
    }
    if (!steps)
    {
        std::unordered_map<const void*, std::string> found;
        SiblingKeys keys(element);
        for (auto node = elementFrom(element.first_child()); node; node = elementFrom(node.next_sibling()))
        {
            found.emplace(node.internal_object(), keys.next(node.name()));
        }
        steps = std::move(found);
    }
    return steps->at(child.internal_object());
}

void XmlObject::makeChildren()
{
    if (hasChildren)
    {
        return;
    }
    std::vector<std::shared_ptr<XmlObject>> made;
    try
    {
        SiblingKeys keys(element);
        for (auto node = elementFrom(element.first_child()); node; node = elementFrom(node.next_sibling()))
        {
            made.push_back(makeXmlObject(keys.next(node.name()), context, node));
            if (holder != nullptr)
            {
                holder->add(*made.back());
            }
            addChild(made.back());
        }
    }
    catch (...)
    {
        for (const auto& child : made)
        {
            removeChild(child->getKey());
        }
        throw;
    }
    hasChildren = !element.empty();
}

std::shared_ptr<XmlObject> XmlObject::findChild(std::string_view key)
{
    makeChildren();
    return std::static_pointer_cast<XmlObject>(Object::findChild(key));
}

std::vector<std::shared_ptr<Valdane::Object>> XmlObject::getChildren()
{
    makeChildren();
    return Object::getChildren();
}

std::size_t XmlObject::getChildCount() const noexcept
{
    if (hasChildren)
    {
        return Object::getChildCount();
    }
    std::size_t count = 0;
    for (auto node = elementFrom(element.first_child()); node; node = elementFrom(node.next_sibling()))
    {
        ++count;
    }
    return count;
}

std::shared_ptr<Valdane::Object> XmlObject::getObject(const Valdane::Path& path,
                                                      Valdane::GetObjectBehavior /*behavior*/)
{
    auto object = std::static_pointer_cast<XmlObject>(shared_from_this());
    for (const auto& key : path.getKeys())
    {
        object = object == nullptr ? nullptr : object->findChild(key);
    }
    return object;
}

std::vector<std::shared_ptr<XmlObject>> XmlObject::getElements()
{
    std::vector<std::shared_ptr<XmlObject>> elements;
    for (const auto& child : getChildren())
    {
        elements.push_back(std::static_pointer_cast<XmlObject>(child));
    }
    if (hasOwnOrder)
    {
        std::unordered_map<const void*, std::size_t> places;
        for (const auto node : element.children())
        {
            places.emplace(node.internal_object(), places.size());
        }
        std::ranges::sort(elements, {},
                          [&](const auto& child)
                          { return places.at(child->getElement().internal_object()); });
    }
    return elements;
}

} // namespace ModelEditor
