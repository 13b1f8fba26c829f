#include "Applications/ModelEditor/Document/NamedXmlObject.h"
#include "Applications/ModelEditor/Document/SiblingKeys.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <ranges>
#include <span>
#include <utility>

// How modules are appended to a model and go again.

namespace ModelEditor
{

namespace
{

// The node and the siblings behind it, those that are elements.
std::vector<pugi::xml_node> elementsFrom(pugi::xml_node first)
{
    std::vector<pugi::xml_node> elements;
    for (auto element = elementFrom(first); !element.empty(); element = elementFrom(element.next_sibling()))
    {
        elements.push_back(element);
    }
    return elements;
}

// In document order. Makes all of them, so that each finds its element when the modules come back.
void listWithBelow(XmlObject& top, std::vector<XmlObject*>& listed)
{
    std::vector<XmlObject*> open{&top};
    while (!open.empty())
    {
        auto& object = *open.back();
        open.pop_back();
        listed.push_back(&object);
        const auto children = object.getElements();
        for (const auto& child : children | std::views::reverse)
        {
            open.push_back(child.get());
        }
    }
}

enum class Way
{
    Came,
    Went,
};

std::vector<XmlChange> changesOf(const XmlObject& root, const XmlPart& part, Way way)
{
    std::vector<XmlChange> changes;
    for (const auto& module : part.modules)
    {
        const std::optional<std::string> title = module->getTitle();
        changes.push_back({.object = root,
                           .value = module->getAddressStep(),
                           .before = way == Way::Went ? title : std::nullopt,
                           .after = way == Way::Came ? title : std::nullopt,
                           .child = module.get()});
    }
    return changes;
}

} // namespace

void XmlModel::append(XmlPart& part)
{
    attach(part);
    std::vector<pugi::xml_node> nodes;
    try
    {
        nodes = elementsFrom(document.getLastAppended());
        report(changesOf(*root, part, Way::Came));
    }
    catch (...)
    {
        detach(part);
        throw;
    }
    tellChildren(*root, nodes, true);
}

// The listener is told of what is done; if it does not take that, it is undone.
void XmlModel::remove(XmlPart& part)
{
    requireLast(part);
    const auto changes = changesOf(*root, part, Way::Went);
    tellChildren(*root, elementsFrom(document.getLastAppended()), false);
    detach(part);
    try
    {
        report(changes);
    }
    catch (...)
    {
        attach(part);
        tellChildren(*root, elementsFrom(document.getLastAppended()), true);
        throw;
    }
}

void XmlModel::attach(XmlPart& part)
{
    root->makeChildren();
    root->settleTexts();
    addresses.forget();
    document.append(part.markup);
    const bool isNew = part.modules.empty();
    try
    {
        isNew ? makeModules(part) : bindObjects(part);
        for (const auto& module : part.modules)
        {
            root->addChild(module);
        }
    }
    catch (...)
    {
        detach(part);
        if (isNew)
        {
            part.objects.clear();
            part.modules.clear();
        }
        throw;
    }
    part.markup = {};
    root->onChildrenChanged();
}

void XmlModel::makeModules(XmlPart& part)
{
    const auto all = elementsFrom(root->getElement().first_child());
    const auto nodes = elementsFrom(document.getLastAppended());
    SiblingKeys keys(root->getElement());
    for (const auto old : std::span(all).first(all.size() - nodes.size()))
    {
        keys.next(old.name());
    }
    for (const auto node : nodes)
    {
        auto key = keys.next(node.name());
        while (key.ends_with(']') && root->findChild(key) != nullptr)
        {
            key = keys.next(node.name());
        }
        part.modules.push_back(makeXmlObject(std::move(key), context, node));
        objects.add(*part.modules.back());
        listWithBelow(*part.modules.back(), part.objects);
    }
}

void XmlModel::bindObjects(const XmlPart& part)
{
    auto object = part.objects.begin();
    for (auto node = document.getLastAppended(); node; node = nextNode(node))
    {
        if (node.type() == pugi::node_element)
        {
            (*object)->bind(node);
            objects.add(**object);
            ++object;
        }
    }
}

// Also what was attached only in part. Goes by the nodes, which takes no memory.
void XmlModel::detach(XmlPart& part) noexcept
{
    for (const auto& module : part.modules)
    {
        if (module->getOwner() == root)
        {
            root->removeChild(module->getKey());
        }
    }
    for (auto node = document.getLastAppended(); node; node = nextNode(node))
    {
        objects.remove(node);
    }
    for (auto* const object : part.objects)
    {
        object->bind({});
    }
    addresses.forget();
    part.markup = document.removeLast();
    root->onChildrenChanged();
}

void XmlModel::requireLast(const XmlPart& part)
{
    const auto nodes = elementsFrom(document.getLastAppended());
    if (nodes.empty() || part.modules.empty() || part.modules.front()->getElement() != nodes.front())
    {
        throw Valdane::VdException("the modules are not the last that were appended to " +
                                   document.getName());
    }
}

} // namespace ModelEditor
