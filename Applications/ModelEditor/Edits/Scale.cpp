#include "Applications/ModelEditor/Edits/Scale.h"

#include "Applications/ModelEditor/Document/Nodes.h"
#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Counts.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/ScaleValuesCmd.h"
#include "Applications/ModelEditor/Edits/SetValue.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace ModelEditor
{

using Valdane::ThreadedMacroCommand;
using Valdane::VdException;

namespace
{

constexpr std::size_t mostRuns = 100;

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
std::shared_ptr<ScaleFailures> makeFailures(std::span<const std::string> options)
{
    auto failures = std::make_shared<ScaleFailures>();
    if (options.empty())
    {
        return failures;
    }
    if (options[0] != "--continue-on-error")
    {
        throw VdException("no option " + shown(options[0]) + "; there is --continue-on-error [N]");
    }
    failures->areLeftAlone = true;
    if (options.size() > 1)
    {
        failures->most = parseCount<std::uint64_t>(options[1], 1);
    }
    return failures;
}

} // namespace

// Of a few commands only: each is a run of its own on the other thread.
std::shared_ptr<ThreadedMacroCommand> makeScale(const XmlModel& model,
                                                const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto& factor = arguments[1];
    const auto nodes = withTexts(requireNodes(model, xpath));
    const auto by = parseFactor(factor);
    const auto failures = makeFailures(std::span(arguments).subspan(2));
    std::ranges::for_each(nodes, requireValue);
    auto macro = std::make_shared<ThreadedMacroCommand>("Scale " + brief(xpath) + " (" +
                                                        plural(nodes.size(), "value") + ") by " + factor);
    const std::size_t share = 1 + ((nodes.size() - 1) / mostRuns);
    for (std::span<const Selected> rest = nodes; !rest.empty();
         rest = rest.subspan(std::min(share, rest.size())))
    {
        macro->addCommand(
            std::make_shared<ScaleValuesCmd>(rest.first(std::min(share, rest.size())), by, failures));
    }
    return macro;
}

std::vector<std::string> listLeftAlone(const ThreadedMacroCommand& scale)
{
    std::vector<std::string> all;
    for (const auto& command : scale)
    {
        const auto& failures = dynamic_cast<const ScaleValuesCmd&>(*command).getLeftAlone();
        all.insert(all.end(), failures.begin(), failures.end());
    }
    return all;
}

} // namespace ModelEditor
