#include "Applications/ModelEditor/Document/Nodes.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <utility>

namespace ModelEditor
{

using Valdane::VdException;

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
    return Selected{.object = requireElement(elements.front()),
                    .part = partOf(step.substr(1)),
                    .name = step.substr(1),
                    .text = {}};
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

} // namespace ModelEditor
