#include "Applications/ModelEditor/Edits/ScaleValueCmd.h"

#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/SetValue.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/LogMessage.h"

#include <array>
#include <charconv>
#include <cmath>
#include <exception>
#include <limits>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

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

} // namespace

ScaleValueCmd::ScaleValueCmd(XmlObject& object, const std::string& name, double factor)
    : ThreadedCommand("Scale " + object.getAddress() + "/" + object.getStep(name)),
      root(object.getRootObjectAlt()),
      path(object.getPath(nullptr, name, Valdane::RequestedPathType::FromRoot)),
      by(factor)
{
}

ScaleValueCmd::~ScaleValueCmd() = default;

void ScaleValueCmd::run()
{
    done.reset();
    failure.clear();
    getProgressPtr()->sendMessage(
        Valdane::LogMessage(getDescription(), Valdane::LogMessage::Type::Info, std::string()));
    try
    {
        prepared = prepare();
    }
    catch (const std::exception& exception)
    {
        failure = exception.what();
        getProgressPtr()->setComplete();
        throw;
    }
}

void ScaleValueCmd::finishRun()
{
    const auto change = std::exchange(prepared, nullptr);
    if (!isAborted())
    {
        change->execute();
        done = change;
    }
    getProgressPtr()->setComplete();
}

void ScaleValueCmd::sendFinishSignal(bool ok)
{
    if (!ok)
    {
        undo();
        done.reset();
    }
    ThreadedCommand::sendFinishSignal(ok);
}

void ScaleValueCmd::undo()
{
    if (done != nullptr)
    {
        done->undo();
    }
}

void ScaleValueCmd::redo()
{
    if (done != nullptr)
    {
        done->redo();
    }
}

const std::string& ScaleValueCmd::getFailure() const noexcept
{
    return failure;
}

std::shared_ptr<Valdane::CommandBase> ScaleValueCmd::prepare() const
{
    const auto tree = root.lock();
    const auto object = tree == nullptr ? nullptr
                                        : std::dynamic_pointer_cast<XmlObject>(tree->getObject(
                                              path, Valdane::GetObjectBehavior::EmptyIfMissing));
    if (object == nullptr)
    {
        throw VdException("there is no value at " + path.toString());
    }
    const Selected value{.object = object,
                         .part = Part::Value,
                         .name = path.getAttributeName(),
                         .text = object->getText(path.getAttributeName())};
    return makeSetCommand(value, scaled(value.getAddress(), value.text, by), Types::Strict);
}

} // namespace ModelEditor
