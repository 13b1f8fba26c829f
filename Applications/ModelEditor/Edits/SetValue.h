#pragma once

#include <memory>
#include <string>

namespace Valdane
{
class CommandBase;
} // namespace Valdane

namespace ModelEditor
{

struct Selected;

/// @throws VdException that says what to do instead, if @p selected is no attribute or text that has a value.
void requireValue(const Selected& selected);

/// The command that gives the attribute or text @p selected the value that @p text says.
///
/// @throws VdException if @p selected is no attribute or text that has a value to set, or @p text is not of
/// its
///         type.
std::shared_ptr<Valdane::CommandBase> makeSetCommand(const Selected& selected, const std::string& text);

} // namespace ModelEditor
