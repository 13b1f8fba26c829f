#include "Applications/ModelEditor/Edits/ScaleValuesCmd.h"

#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/SetValue.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/LogMessage.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandBase.h"

#include <array>
#include <charconv>
#include <cmath>
#include <exception>
#include <limits>
#include <ranges>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::CommandBase;
using Valdane::VdException;

// To the digits that a double has for sure: the product of two decimal numbers then looks as a person expects, 33.822
// and not 33.821999999999996.
double rounded(double value)
{
    constexpr int digits = std::numeric_limits<double>::digits10;
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                   std::chars_format::scientific, digits - 1);
    return valueOf<double>(std::string_view(text.data(), end.ptr)).value_or(value);
}

// The text of a number that was multiplied. A whole number that is none any more is left for its attribute to
// refuse.
std::string scaled(const std::string& address, const std::string& text, double factor)
{
    const ValueType type = typeOf(text);
    const auto number = valueOf<double>(text);
    if (type == ValueType::Text || !number)
    {
        throw VdException(address + ": " + shown(text) + " is not a number");
    }
    const double value = *number * factor;
    constexpr double largestWholeNumber = 4294967295.0;
    const bool isWhole = std::abs(value) <= largestWholeNumber && std::trunc(value) == value;
    return type != ValueType::Double && isWhole ? std::to_string(std::llround(value))
                                                : textOf(rounded(value));
}

// Does all, in that order; if one fails, whatever it throws, those before it are taken back. A MacroCommand would do
// that for a standard exception only.
template <typename Commands, typename Do, typename TakeBack>
void doAll(const Commands& commands, const Do& doOne, const TakeBack& takeBack)
{
    auto next = commands.begin();
    try
    {
        for (; next != commands.end(); ++next)
        {
            doOne(**next);
        }
    }
    catch (...)
    {
        while (next != commands.begin())
        {
            takeBack(**--next);
        }
        throw;
    }
}

void executeOne(CommandBase& command)
{
    command.execute();
}

void undoOne(CommandBase& command)
{
    command.undo();
}

void redoOne(CommandBase& command)
{
    command.redo();
}

} // namespace

ScaleValuesCmd::ScaleValuesCmd(std::span<const Selected> values, double factor,
                               std::shared_ptr<ScaleFailures> failures)
    : ThreadedCommand("Scale " + values.front().getAddress() +
                      (values.size() == 1 ? "" : " and " + std::to_string(values.size() - 1) + " more")),
      root(values.front().object->getRootObjectAlt()),
      by(factor),
      failed(std::move(failures))
{
    paths.reserve(values.size());
    for (const auto& value : values)
    {
        paths.push_back(value.object->getPath(nullptr, value.name, Valdane::RequestedPathType::FromRoot));
    }
}

ScaleValuesCmd::ScaleValuesCmd(std::weak_ptr<Valdane::Object> tree, State state,
                               std::string commandDescription)
    : ThreadedCommand(std::move(commandDescription)),
      root(std::move(tree)),
      paths(std::move(state.values)),
      by(state.factor),
      failed(std::make_shared<ScaleFailures>(ScaleFailures{.areLeftAlone = state.areFailuresLeftAlone}))
{
}

ScaleValuesCmd::~ScaleValuesCmd() = default;

ScaleValuesCmd::State ScaleValuesCmd::getState() const
{
    return {.values = paths, .factor = by, .areFailuresLeftAlone = failed->areLeftAlone};
}

void ScaleValuesCmd::run()
{
    done.clear();
    prepared.clear();
    leftAlone.clear();
    getProgressPtr()->sendMessage(
        Valdane::LogMessage(getDescription(), Valdane::LogMessage::Type::Info, std::string()));
    try
    {
        prepareAll();
    }
    catch (const std::exception&)
    {
        getProgressPtr()->setComplete();
        throw;
    }
}

void ScaleValuesCmd::prepareAll()
{
    const auto tree = root.lock();
    if (tree == nullptr)
    {
        throw VdException("the model is gone");
    }
    for (const auto& path : paths)
    {
        if (isAborted())
        {
            return;
        }
        try
        {
            prepared.push_back(prepare(*tree, path));
        }
        catch (const VdException& exception)
        {
            if (!failed->areLeftAlone)
            {
                throw;
            }
            note(exception.what());
        }
    }
}

void ScaleValuesCmd::note(const std::string& failure)
{
    leftAlone.push_back(failure);
    if (++failed->count >= failed->most)
    {
        throw VdException("too many values cannot be changed");
    }
}

void ScaleValuesCmd::finishRun()
{
    auto changes = std::exchange(prepared, {});
    if (!isAborted())
    {
        doAll(changes, &executeOne, &undoOne);
        done = std::move(changes);
    }
    getProgressPtr()->setComplete();
}

void ScaleValuesCmd::sendFinishSignal(bool ok)
{
    if (!ok)
    {
        undo();
        done.clear();
    }
    ThreadedCommand::sendFinishSignal(ok);
}

void ScaleValuesCmd::undo()
{
    doAll(std::views::reverse(done), &undoOne, &redoOne);
}

void ScaleValuesCmd::redo()
{
    doAll(done, &redoOne, &undoOne);
}

const std::vector<std::string>& ScaleValuesCmd::getLeftAlone() const noexcept
{
    return leftAlone;
}

std::shared_ptr<Valdane::CommandBase> ScaleValuesCmd::prepare(Valdane::Object& tree,
                                                              const Valdane::Path& path) const
{
    const auto object = std::dynamic_pointer_cast<XmlObject>(
        tree.getObject(path, Valdane::GetObjectBehavior::EmptyIfMissing));
    if (object == nullptr)
    {
        throw VdException("there is no value at " + path.toString());
    }
    const Selected value{.object = object,
                         .part = Part::Value,
                         .name = path.getAttributeName(),
                         .text = object->getText(path.getAttributeName())};
    return makeSetCommand(value, scaled(value.getAddress(), value.text, by), typeOf(value.text));
}

} // namespace ModelEditor
