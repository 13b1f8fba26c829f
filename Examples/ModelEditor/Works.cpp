#include "Examples/ModelEditor/Works.h"

#include "Examples/ModelEditor/CheckCmd.h"
#include "Examples/ModelEditor/EditorTexts.h"
#include "Examples/ModelEditor/Import.h"
#include "Examples/ModelEditor/ModelFile.h"
#include "Examples/ModelEditor/Nodes.h"
#include "Examples/ModelEditor/ScaleValueCmd.h"
#include "Examples/ModelEditor/SetValue.h"
#include "Examples/ModelEditor/ValueText.h"
#include "Examples/ModelEditor/Words.h"
#include "Examples/ModelEditor/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <charconv>
#include <cstddef>
#include <optional>

namespace ModelEditor
{

namespace
{

using Valdane::ThreadedMacroCommand;
using Valdane::VdException;

constexpr std::size_t mostFailuresTold = 5;

double parseFactor(const std::string& text)
{
    const auto factor = valueOf<double>(text);
    if (!factor)
    {
        throw VdException(shown(text) + " is not a number");
    }
    return *factor;
}

// `--continue-on-error [N]`, if it is there.
void setFailurePolicy(ThreadedMacroCommand& macro, const std::vector<std::string>& options)
{
    if (options.empty())
    {
        return;
    }
    if (options[0] != "--continue-on-error")
    {
        throw VdException("no option " + shown(options[0]) + "; there is --continue-on-error [N]");
    }
    macro.setContinueOnException(true);
    if (options.size() > 1)
    {
        int count = 0;
        const auto& text = options[1];
        const auto result = std::from_chars(text.data(), text.data() + text.size(), count);
        if (result.ec != std::errc() || result.ptr != text.data() + text.size() || count < 1)
        {
            throw VdException(shown(text) + " is not a count");
        }
        macro.setFailCountToThrow(count);
    }
}

std::string tellFailures(const ThreadedMacroCommand& macro)
{
    std::size_t failed = 0;
    std::string lines;
    for (const auto& command : macro)
    {
        const auto& failure = dynamic_cast<const ScaleValueCmd&>(*command).getFailure();
        if (!failure.empty() && ++failed <= mostFailuresTold)
        {
            lines += "    " + failure + "\n";
        }
    }
    if (failed > mostFailuresTold)
    {
        lines += "    and " + std::to_string(failed - mostFailuresTold) + " more\n";
    }
    return failed == 0 ? lines : "  " + plural(failed, "value") + " left alone:\n" + lines;
}

std::string tellFindings(const CheckCmd& check)
{
    std::string lines;
    for (const auto& finding : check.getFindings())
    {
        lines += "  " + finding + "\n";
    }
    return lines + plural(check.getFindings().size(), "finding") + "\n";
}

} // namespace

Valdane::CommandBase& Work::get() const
{
    return macro == nullptr ? static_cast<Valdane::CommandBase&>(*command) : *macro;
}

Work makeScale(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto& factor = arguments[1];
    const auto nodes = requireNodes(model, xpath);
    const auto by = parseFactor(factor);
    auto macro = std::make_shared<ThreadedMacroCommand>("Scale " + brief(xpath) + " (" +
                                                        plural(nodes.size(), "value") + ") by " + factor);
    setFailurePolicy(*macro, {arguments.begin() + 2, arguments.end()});
    for (const auto& node : nodes)
    {
        requireValue(node);
        macro->addCommand(std::make_shared<ScaleValueCmd>(*node.object, node.name, by));
    }
    return {.command = nullptr,
            .macro = macro,
            .tellResult = [macro]
            {
                return tellFailures(*macro);
            }};
}

Work makeCheck(XmlModel& model, const std::vector<std::string>& /*arguments*/)
{
    const auto check = std::make_shared<CheckCmd>(model.getRoot()->getElement(), model.getSize());
    return {.command = check,
            .macro = nullptr,
            .tellResult = [check]
            {
                return tellFindings(*check);
            }};
}

Work makeImportOfFile(XmlModel& model, const std::vector<std::string>& arguments)
{
    return {.command = nullptr, .macro = makeImport(model, arguments[0], &readFile), .tellResult = nullptr};
}

} // namespace ModelEditor
