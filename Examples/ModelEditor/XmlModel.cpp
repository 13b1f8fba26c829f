#include "Examples/ModelEditor/XmlModel.h"

#include "Examples/ModelEditor/Markup.h"
#include "Examples/ModelEditor/NamedXmlObject.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

struct SameTag
{
    std::size_t count = 0;
    std::size_t used = 0;
};

std::unordered_map<std::string_view, SameTag> countTags(pugi::xml_node parent)
{
    std::unordered_map<std::string_view, SameTag> tags;
    for (const auto child : parent.children())
    {
        if (child.type() == pugi::node_element)
        {
            ++tags[child.name()].count;
        }
    }
    return tags;
}

Part partOf(const std::string& attributeName)
{
    if (attributeName == "name")
    {
        return Part::Name;
    }
    return isAnnotationName(attributeName) ? Part::Annotation : Part::Value;
}

pugi::xpath_query compile(const std::string& xpath)
{
    try
    {
        return pugi::xpath_query(xpath.c_str());
    }
    catch (const pugi::xpath_exception& exception)
    {
        const auto& result = exception.result();
        throw Valdane::VdException("bad XPath at character " + std::to_string(result.offset + 1) + ": " +
                                   result.error + ": " + xpath);
    }
}

pugi::xpath_node_set evaluate(const pugi::xpath_query& query, pugi::xml_node from)
{
    auto nodes = query.evaluate_node_set(from);
    nodes.sort();
    return nodes;
}

} // namespace

std::string Selected::getAddress() const
{
    std::string address = object->getAddress();
    if (part == Part::Element || part == Part::Unsupported)
    {
        return address;
    }
    return address + "/" + object->getStep(name);
}

XmlModel::XmlModel(const std::string& bytes, const std::string& name)
    : document(bytes, name), context{document, {}}
{
    const auto element = document.getRootElement();
    root = makeObject(element.name(), element);
    std::vector<XmlObject*> open{root.get()};
    while (!open.empty())
    {
        XmlObject& object = *open.back();
        open.pop_back();
        addChildren(object);
        for (const auto child : object.getElement().children())
        {
            if (!child.first_child().empty() && child.type() == pugi::node_element)
            {
                open.push_back(objects.at(child.internal_object()));
            }
        }
    }
}

std::shared_ptr<XmlObject> XmlModel::getRoot() const
{
    return root;
}

std::size_t XmlModel::getSize() const noexcept
{
    return objects.size();
}

Selection XmlModel::select(const std::string& xpath) const
{
    const auto query = compile(xpath);
    Selection selection;
    if (query.return_type() != pugi::xpath_type_node_set)
    {
        selection.value = query.evaluate_string(document.getDocumentNode());
        return selection;
    }
    for (const auto& node : evaluate(query, document.getDocumentNode()))
    {
        if (auto selected = find(node))
        {
            selection.nodes.push_back(std::move(*selected));
        }
    }
    return selection;
}

void XmlModel::setChangeListener(std::function<void(const XmlChange&)> listener)
{
    context.changed = std::move(listener);
}

std::string XmlModel::toBytes() const
{
    return document.toBytes();
}

// Top down, and a child before what is below it: that costs the same at every depth.
void XmlModel::addChildren(XmlObject& object)
{
    auto tags = countTags(object.getElement());
    for (const auto child : object.getElement().children())
    {
        if (child.type() == pugi::node_element)
        {
            const std::string tag = child.name();
            auto& same = tags.find(tag)->second;
            object.addChild(
                makeObject(same.count == 1 ? tag : tag + "[" + std::to_string(++same.used) + "]", child));
        }
    }
}

std::shared_ptr<XmlObject> XmlModel::makeObject(std::string key, pugi::xml_node element)
{
    std::shared_ptr<XmlObject> object;
    if (!element.attribute("name").empty())
    {
        object = std::make_shared<NamedXmlObject>(std::move(key), context, element);
    }
    else
    {
        object = std::make_shared<XmlObject>(std::move(key), context, element);
    }
    objects.emplace(element.internal_object(), object.get());
    return object;
}

std::optional<Selected> XmlModel::find(const pugi::xpath_node& node) const
{
    const auto objectOf = [this](pugi::xml_node element)
    {
        const auto found = objects.find(element.internal_object());
        return std::static_pointer_cast<XmlObject>(
            (found == objects.end() ? root.get() : found->second)->shared_from_this());
    };
    if (const auto attribute = node.attribute())
    {
        if (node.parent().type() != pugi::node_element)
        {
            return std::nullopt; // of the declaration, which is no node to XPath
        }
        const std::string name = attribute.name();
        return Selected{
            .object = objectOf(node.parent()), .part = partOf(name), .name = name, .text = attribute.value()};
    }
    switch (node.node().type())
    {
    case pugi::node_document:
    case pugi::node_element:
        return Selected{.object = objectOf(node.node()), .part = Part::Element, .name = {}, .text = {}};
    case pugi::node_pcdata:
    case pugi::node_cdata:
    {
        const auto object = objectOf(node.node().parent());
        const auto name = object->getTextName(node.node());
        return name.empty()
                   ? std::nullopt
                   : std::optional(Selected{
                         .object = object, .part = Part::Value, .name = name, .text = node.node().value()});
    }
    case pugi::node_declaration:
    case pugi::node_doctype:
        return std::nullopt;
    default:
        return Selected{
            .object = objectOf(node.node().parent()), .part = Part::Unsupported, .name = {}, .text = {}};
    }
}

} // namespace ModelEditor
