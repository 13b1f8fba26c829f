#include "Applications/ModelEditor/Document/Nodes.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <utility>

namespace ModelEditor
{

using Valdane::VdException;

std::vector<Selected> requireNodes(const XmlModel& model, const std::string& xpath)
{
    auto selection = model.select(xpath);
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
