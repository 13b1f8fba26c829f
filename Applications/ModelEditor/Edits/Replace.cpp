#include "Applications/ModelEditor/Edits/Replace.h"

#include "Applications/ModelEditor/Document/Nodes.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/EditCommands.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/RegularExpression.h"
#include "Applications/ModelEditor/Edits/SetValue.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <optional>

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

// As a person is shown it, and enters it.
std::string enteredTextOf(const Selected& node)
{
    const bool isPlain = node.part == Part::Name || node.part == Part::Annotation;
    if (!isPlain)
    {
        requireValue(node);
    }
    return isPlain ? node.text : node.object->getShownText(node.name);
}

std::string replaceIn(const Selected& node, const std::string& before, const RegularExpression& expression,
                      const std::string& by)
{
    try
    {
        return expression.replaceAll(before, by);
    }
    catch (const VdException& exception)
    {
        throw VdException(node.getAddress() + ": " + exception.what());
    }
}

} // namespace

Edit makeReplace(const XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const bool ignoresCase = arguments.size() > 3;
    if (ignoresCase && arguments[3] != "-i")
    {
        throw VdException("no option " + shown(arguments[3]) + "; there is -i");
    }
    const RegularExpression expression(arguments[1], ignoresCase);
    const auto nodes = withTexts(requireNodes(model, xpath));
    EditCommands commands(describeReplace(xpath, nodes.size(), arguments[1], arguments[2]));
    for (const auto& node : nodes)
    {
        const auto before = enteredTextOf(node);
        const auto after = replaceIn(node, before, expression, arguments[2]);
        if (after != before)
        {
            addSet(commands, node, after, std::nullopt);
        }
    }
    return {.command = commands.asMacro(), .note = {}};
}

} // namespace ModelEditor
