#include "Applications/ModelEditor/Document/NamedXmlObject.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <cstddef>
#include <functional>
#include <map>
#include <span>
#include <utility>

// How children come into a model and go again.

namespace ModelEditor
{

namespace
{

// Keys for further children of an element, which no child has.
class NewKeys
{
public:
    NewKeys(XmlObject& parent, pugi::xml_node added) : owner(parent)
    {
        forTags(added, [this](const char* tag) { ++all[tag]; });
        forTags(parent.getElement(),
                [this](const char* tag)
                {
                    if (all.contains(tag))
                    {
                        ++present[tag];
                    }
                });
    }

    std::string next(const std::string& tag)
    {
        auto& number = ++present[tag];
        if (number == 1 && all[tag] == 1 && owner.findChild(tag) == nullptr)
        {
            return tag;
        }
        while (owner.findChild(tag + "[" + std::to_string(number) + "]") != nullptr)
        {
            ++number;
        }
        return tag + "[" + std::to_string(number) + "]";
    }

private:
    template <typename Act>
    static void forTags(pugi::xml_node parent, const Act& act)
    {
        for (auto element = elementFrom(parent.first_child()); element;
             element = elementFrom(element.next_sibling()))
        {
            act(element.name());
        }
    }

    XmlObject& owner;
    // Of the tags that come, because there may be many others.
    std::map<std::string, std::size_t, std::less<>> present;
    std::map<std::string, std::size_t, std::less<>> all;
};

template <typename Do>
void forEachNode(const pugi::xml_document& nodes, const Do& act)
{
    for (auto node = nodes.first_child(); node; node = nextNode(node))
    {
        act(node);
    }
}

bool isTextChild(pugi::xml_node node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// The children of @p parent, as the nodes that they are in the model.
std::vector<pugi::xml_node> childrenOf(const pugi::xml_document& parent, const NodeMap& inModel)
{
    std::vector<pugi::xml_node> nodes;
    for (const auto node : parent.children())
    {
        nodes.push_back(inModel(node));
    }
    return nodes;
}

} // namespace

const XmlObject* XmlModel::findObject(pugi::xml_node element) const
{
    return objects.find(element);
}

const Chunks& XmlModel::getChunks(const XmlObject& parent)
{
    return document.getChunks(parent.getElement());
}

std::size_t XmlModel::indexOf(pugi::xml_node node)
{
    return document.indexOf(node);
}

std::vector<pugi::xml_node> XmlModel::getNodes(const XmlObject& parent)
{
    return document.getNodes(parent.getElement());
}

std::string XmlModel::getMarkup(const XmlObject& parent, std::size_t index)
{
    return document.getMarkup(getChunks(parent).all.at(index));
}

Layout XmlModel::getLayout(const XmlObject& parent, std::optional<std::size_t> neighbour)
{
    return layoutAt(document, parent.getElement(), neighbour);
}

std::string XmlModel::getIndent()
{
    return indentOf(document);
}

XmlCutting XmlModel::parse(XmlObject& parent, const std::vector<NewChildren>& children)
{
    XmlCutting part{.parent = parent.getPath(Valdane::RequestedPathType::FromRoot),
                    .cutting = document.parse(children)};
    part.objects = std::make_unique<ObjectsByNode>();
    NewKeys keys(parent, *part.cutting.nodes);
    std::size_t textKey = parent.findFreeTextKey();
    for (const auto node : part.cutting.nodes->children())
    {
        if (node.type() == pugi::node_element)
        {
            part.tops.push_back(makeXmlObject(keys.next(node.name()), context, node));
            part.objects->add(*part.tops.back());
        }
        else if (isTextChild(node))
        {
            part.texts.push_back({.node = node, .taken = {.key = textKey++}});
        }
    }
    return part;
}

void XmlModel::put(XmlCutting& part)
{
    attach(*requireParent(part), part);
}

void XmlModel::take(XmlCutting& part)
{
    const auto parent = requireParent(part);
    const auto& last = part.cutting.ranges.back();
    if (last.index + last.count > getChunks(*parent).all.size())
    {
        throw Valdane::VdException("there is no longer what was to be taken out of " + parent->getAddress());
    }
    detach(*parent, part);
}

std::shared_ptr<XmlObject> XmlModel::requireParent(const XmlCutting& part) const
{
    auto parent = std::static_pointer_cast<XmlObject>(
        root->getObject(part.parent, Valdane::GetObjectBehavior::EmptyIfMissing));
    if (parent == nullptr)
    {
        throw Valdane::VdException("there is no element at " + part.parent.toString());
    }
    return parent;
}

void XmlModel::attach(XmlObject& parent, XmlCutting& part)
{
    const auto element = parent.getElement();
    const auto& last = part.cutting.ranges.back();
    if (last.index + last.count > getChunks(parent).all.size() + part.cutting.chunks.size())
    {
        throw Valdane::VdException("there is no longer a place for it in " + parent.getAddress());
    }
    parent.makeChildren();
    parent.settleTexts();
    objects.makeRoomFor(part.objects->size());
    addresses.forget();
    const auto copies = document.insert(element, part.cutting);
    const auto rebindTexts = [&](const NodeMap& map)
    {
        for (auto& text : part.texts)
        {
            if (text.taken.value)
            {
                text.taken.value.mapped().rebind(map);
            }
        }
    };
    const auto& nodes = *part.cutting.nodes;
    forEachNode(nodes, [&](pugi::xml_node node) { part.objects->move(node, copies.there, objects); });
    rebindTexts(copies.there);
    std::size_t added = 0;
    std::vector<pugi::xml_node> inModel;
    try
    {
        inModel = childrenOf(nodes, copies.there);
        for (const auto& top : part.tops)
        {
            parent.addChild(top);
        }
        for (auto& text : part.texts)
        {
            parent.addText(copies.there(text.node), text.taken);
            ++added;
        }
        parent.onChildrenChanged();
        report(changesIn(parent, part.cutting, copies.there, true));
    }
    catch (...)
    {
        for (auto& text : std::span(part.texts).first(added))
        {
            text.taken = parent.takeText(copies.there(text.node));
        }
        for (const auto& top : part.tops)
        {
            if (top->getOwner().get() == &parent)
            {
                parent.removeChild(top->getKey());
            }
        }
        forEachNode(nodes, [&](pugi::xml_node node)
                    { objects.move(copies.there(node), copies.back, *part.objects); });
        rebindTexts(copies.back);
        document.remove(element, part.cutting.ranges);
        addresses.forget();
        parent.onChildrenChanged();
        throw;
    }
    tellChildren(parent, inModel, true);
    part.cutting = {.ranges = std::move(part.cutting.ranges)};
    part.tops.clear();
    part.objects.reset();
    part.texts.clear();
}

void XmlModel::detach(XmlObject& parent, XmlCutting& part)
{
    const auto element = parent.getElement();
    parent.makeChildren();
    parent.settleTexts();
    Copies copies;
    auto cutting = document.copy(element, part.cutting.ranges, copies);
    std::vector<std::shared_ptr<XmlObject>> tops;
    auto gone = std::make_unique<ObjectsByNode>();
    std::vector<XmlCutting::Text> texts;
    for (const auto node : cutting.nodes->children())
    {
        if (isTextChild(node) && parent.hasText(copies.back(node)))
        {
            texts.push_back({.node = node, .taken = {}});
        }
    }
    std::size_t made = 0;
    forEachNode(*cutting.nodes,
                [&](pugi::xml_node node)
                {
                    auto* const object = objects.find(copies.back(node));
                    made += object == nullptr ? 0 : 1;
                    if (object != nullptr && node.parent() == *cutting.nodes)
                    {
                        tops.push_back(std::static_pointer_cast<XmlObject>(object->shared_from_this()));
                    }
                });
    gone->makeRoomFor(made);
    // The listener is told while nothing has changed: what has gone could not be brought back without memory.
    const auto inModel = childrenOf(*cutting.nodes, copies.back);
    report(changesIn(parent, cutting, copies.back, false));
    // From here on nothing fails.
    tellChildren(parent, inModel, false);
    addresses.forget();
    for (auto& text : texts)
    {
        text.taken = parent.takeText(copies.back(text.node));
        if (text.taken.value)
        {
            text.taken.value.mapped().rebind(copies.there);
        }
    }
    for (const auto& top : tops)
    {
        parent.removeChild(top->getKey());
    }
    forEachNode(*cutting.nodes,
                [&](pugi::xml_node node) { objects.move(copies.back(node), copies.there, *gone); });
    document.remove(element, cutting.ranges);
    parent.onChildrenChanged();
    part.cutting = std::move(cutting);
    part.tops = std::move(tops);
    part.objects = std::move(gone);
    part.texts = std::move(texts);
}

std::vector<XmlChange> XmlModel::changesIn(XmlObject& parent, const Cutting& cutting, const NodeMap& inModel,
                                           bool came)
{
    std::vector<XmlChange> changes;
    for (const auto copied : cutting.nodes->children())
    {
        const auto node = inModel(copied);
        XmlChange change{.object = parent, .value = {}, .before = {}, .after = {}};
        auto& text = came ? change.after : change.before;
        if (node.type() == pugi::node_element)
        {
            const auto* const child = objects.find(node);
            change.value = child->getAddressStep();
            text = child->getTitle();
            change.child = came && &parent == root.get() ? child : nullptr;
        }
        else
        {
            const bool isComment = node.type() == pugi::node_comment;
            const auto* const other = isComment ? "comment()" : "processing-instruction()";
            change.value = isTextChild(node) ? parent.getStep(parent.getTextName(node)) : other;
            text =
                node.type() == pugi::node_pi ? std::string(node.name()) + " " + node.value() : node.value();
        }
        changes.push_back(std::move(change));
    }
    return changes;
}

void XmlModel::tellChildren(const XmlObject& parent, std::span<const pugi::xml_node> nodes,
                            bool haveCome) const noexcept
{
    if (context.childrenChanged)
    {
        context.childrenChanged({.parent = parent.getElement(), .nodes = nodes, .haveCome = haveCome});
    }
}

void XmlModel::report(const std::vector<XmlChange>& changes) const
{
    for (const auto& change : changes)
    {
        if (context.changed)
        {
            context.changed(change);
        }
    }
}

} // namespace ModelEditor
