#include "Applications/ModelEditor/Document/Nodes.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <set>
#include <string_view>
#include <utility>

namespace ModelEditor
{

using Valdane::VdException;

namespace
{

// The name for a new attribute of @p element: with the prefix that the document has for the namespace that was meant.
std::string nameForNew(const XmlModel& model, const XmlObject& element, const std::string& name)
{
    const auto colon = name.find(':');
    const auto meant = colon == std::string::npos ? model.getPrefixes().end()
                                                  : model.getPrefixes().find(name.substr(0, colon));
    if (meant == model.getPrefixes().end())
    {
        return name;
    }
    std::set<std::string> seen;
    for (auto node = element.getElement(); node; node = node.parent())
    {
        for (const auto attribute : node.attributes())
        {
            const std::string declared = attribute.name();
            if (declared.starts_with("xmlns:") && seen.insert(declared).second &&
                attribute.value() == meant->second)
            {
                return declared.substr(std::string_view("xmlns:").size()) + name.substr(colon);
            }
        }
    }
    throw VdException("the document declares no prefix for " + meant->second + " at " + element.getAddress());
}

} // namespace

std::vector<Selected> requireNodes(const XmlModel& model, const std::string& xpath)
{
    return requireNodes(model.select(xpath), xpath);
}

std::vector<Selected> requireNodes(Selection selection, const std::string& xpath)
{
    if (selection.value)
    {
        throw VdException(xpath + " is a value, not a place in the model");
    }
    if (selection.nodes.empty())
    {
        throw VdException("nothing at " + xpath);
    }
    return std::move(selection.nodes);
}

std::optional<Selected> findNewAttribute(const XmlModel& model, const std::string& xpath)
{
    const auto slash = xpath.rfind('/');
    const auto step = slash == std::string::npos ? xpath : xpath.substr(slash + 1);
    const auto parent = slash == std::string::npos ? "self::*" : xpath.substr(0, slash);
    const bool isOneWay = !parent.empty() && !parent.ends_with('/') && parent.find('|') == std::string::npos;
    if (!isOneWay || !step.starts_with('@') || !isAttributeName(step.substr(1)))
    {
        return std::nullopt;
    }
    const auto elements = model.select(parent).nodes;
    if (elements.empty())
    {
        return std::nullopt;
    }
    if (elements.size() > 1)
    {
        throw VdException(parent + " selects " + std::to_string(elements.size()) +
                          " nodes, none of which has " + step + "; name one to add it");
    }
    const auto element = requireElement(elements.front());
    const auto name = nameForNew(model, *element, step.substr(1));
    return Selected{.object = element, .part = partOf(name), .name = name, .text = {}};
}

std::shared_ptr<XmlObject> requireElement(const Selected& selected)
{
    if (selected.part != Part::Element)
    {
        const bool hasAddress = selected.part != Part::Unsupported;
        throw VdException((hasAddress ? selected.getAddress() : "a comment or processing instruction") +
                          " is not an element");
    }
    return selected.object;
}

std::optional<Selected> findOnlyText(const Selected& element)
{
    const auto node = element.node.first_child();
    const bool isText = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
    if (element.part != Part::Element || !isText || !node.next_sibling().empty())
    {
        return std::nullopt;
    }
    auto name = element.object->getTextName(node);
    if (name.empty())
    {
        return std::nullopt;
    }
    return Selected{.object = element.object,
                    .part = Part::Value,
                    .name = std::move(name),
                    .text = node.value(),
                    .node = node};
}

std::vector<Selected> withTexts(std::vector<Selected> nodes)
{
    for (auto& node : nodes)
    {
        if (auto text = findOnlyText(node))
        {
            node = std::move(*text);
        }
    }
    return nodes;
}

} // namespace ModelEditor
